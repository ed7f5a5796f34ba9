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

}  // namespace orvik::pkgshared
