#define ORVIK_SOURCE_NAME L"source\\shared\\WindowsApi/ComInitializer"

#include "shared/WindowsApi/ComInitializer.h"

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"

namespace OrvikPkg::WindowsApi {
namespace {

constexpr DWORD kApartmentThreaded = 2;
constexpr std::int32_t kInitializeErrorLine = 43;

}  // namespace

ComInitializer::ComInitializer(IWindowsComApi& api) : api_(api) {
    const HRESULT result = api_.CoInitializeEx(nullptr, kApartmentThreaded);
    if (SUCCEEDED(result)) {
        initialized_ = true;
    } else if (result != RPC_E_CHANGED_MODE) {
        ORVIK_THROW_AT(kInitializeErrorLine, orvik::pkgshared::WindowsFunctionErrorException,
                       static_cast<std::int32_t>(result), "CoInitializeEx");
    }
}

ComInitializer::~ComInitializer() {
    if (initialized_) {
        api_.CoUninitialize();
    }
}

}  // namespace OrvikPkg::WindowsApi
