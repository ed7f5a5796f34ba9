#pragma once
// Shared by the platform parts of the configuration store's file side.
#include <string>

#include "shared/ConfigStore.h"

namespace orvik::pkgshared {

// -errno when errno is set, `fallback` otherwise.
int NegativeErrno(int fallback);

// Writes every line of `store` with CRLF to `path`, truncating it first.
// Returns ConfigStore::kOk, kCannotOpenOutput or a negative errno.
int WriteStoreFile(const ConfigStore& store, const std::wstring& path);

// The platform's steps of a safe save.
namespace storefiles {

// Opens and closes the target the way the save will need it, so that a
// locked or read-only target fails before anything is written.
bool ProbeTarget(const std::wstring& path);
enum class CreateResult { kCreated, kExists, kFailed };
// Creates `path` as a new, empty file; never replaces one.
CreateResult CreateNewFile(const std::wstring& path);
void RemoveFile(const std::wstring& path);
// Moves `from` over `to`; false when it could not.
bool MoveOver(const std::wstring& from, const std::wstring& to);

}  // namespace storefiles

}  // namespace orvik::pkgshared
