#include "shared/WindowsOsVersion.h"

#include <vector>

namespace orvik::pkgshared {

RegistryKeyValueReader::RegistryKeyValueReader(HKEY root, const wchar_t* subKey, REGSAM access) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(root, subKey, 0, KEY_READ | access, &key) == ERROR_SUCCESS) {
        key_.reset(key);
    }
}

std::optional<std::uint32_t> RegistryKeyValueReader::ReadDword(const wchar_t* name) {
    DWORD value = 0;
    DWORD size = sizeof(value);
    if (!key_ || ::RegGetValueW(key_.get(), nullptr, name, RRF_RT_REG_DWORD, nullptr, &value,
                                &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::wstring> RegistryKeyValueReader::ReadString(const wchar_t* name) {
    if (!key_) {
        return std::nullopt;
    }
    std::vector<wchar_t> buffer(64);
    for (;;) {
        DWORD size = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
        const LSTATUS status =
            ::RegGetValueW(key_.get(), nullptr, name, RRF_RT_REG_SZ, nullptr, buffer.data(), &size);
        if (status == ERROR_MORE_DATA) {
            buffer.resize(size / sizeof(wchar_t) + 1);
            continue;
        }
        if (status != ERROR_SUCCESS) {
            return std::nullopt;
        }
        return std::wstring(buffer.data());  // RegGetValueW terminates the text
    }
}

IVersionVerifier::Result WindowsVersionVerifier::Verify(Condition condition, std::uint32_t major,
                                                        std::optional<std::uint32_t> minor,
                                                        std::optional<std::uint32_t> build) {
    OSVERSIONINFOEXW info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    info.dwMajorVersion = major;
    DWORD mask = VER_MAJORVERSION;
    ULONGLONG conditions = ::VerSetConditionMask(0, VER_MAJORVERSION, condition);
    if (minor) {
        info.dwMinorVersion = *minor;
        mask |= VER_MINORVERSION;
        conditions = ::VerSetConditionMask(conditions, VER_MINORVERSION, condition);
    }
    if (build) {
        info.dwBuildNumber = *build;
        mask |= VER_BUILDNUMBER;
        conditions = ::VerSetConditionMask(conditions, VER_BUILDNUMBER, condition);
    }
    if (::VerifyVersionInfoW(&info, mask, conditions)) {
        return {true, ERROR_SUCCESS};
    }
    return {false, ::GetLastError()};
}

SystemVersion ReadRunningSystemVersion() {
    RegistryKeyValueReader key(HKEY_LOCAL_MACHINE,
                               L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion");
    return ReadSystemVersion(key);
}

OsVersionEvaluator MakeRunningSystemEvaluator() {
    static const SystemVersion version = ReadRunningSystemVersion();
    static WindowsVersionVerifier verifier;
    return OsVersionEvaluator(version, verifier);
}

}  // namespace orvik::pkgshared
