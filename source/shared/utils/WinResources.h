#pragma once
// Owner types for the Win32 resources the system holds.
#include <windows.h>

#include <oleauto.h>

#include "shared/utils/UniqueResource.h"

namespace orvik::pkgshared {

using UniqueHandle = UniqueResource<HANDLE, &::CloseHandle, HandleValidity>;
using UniqueHkey = UniqueResource<HKEY, &::RegCloseKey>;
using UniqueHlocal = UniqueResource<HLOCAL, &::LocalFree>;
using UniqueHmodule = UniqueResource<HMODULE, &::FreeLibrary>;

template <typename T>
void ReleaseComObject(T* object) {
    object->Release();
}
// One reference to a COM object, released on reset.
template <typename T>
using UniqueCom = UniqueResource<T*, &ReleaseComObject<T>>;
// A BSTR freed when it goes away.
using UniqueBstr = UniqueResource<BSTR, &::SysFreeString>;

}  // namespace orvik::pkgshared
