#include "sysinfo/SystemSummaryReport.h"

#include <exception>
#include <functional>

#include "shared/ErrorMessage.h"
#include "shared/Exception.h"
#include "shared/TextConversion.h"

namespace orvik::sysinfo {
namespace {

using OrvikPkg::SystemInfo::SecurityProductList;

constexpr std::uint64_t kMebibyte = 1024 * 1024;

std::wstring Bytes(std::uint64_t bytes) {
    return std::to_wstring(bytes) + L" bytes (" + std::to_wstring(bytes / kMebibyte) + L" MiB)";
}

// Runs one section under its heading; a failure becomes its error text.
// `body` gathers everything it needs before it writes, so that a failure
// leaves no half-written line.
bool Section(const wchar_t* heading, std::uint16_t language, std::wostream& out,
             const std::function<void()>& body) {
    out << heading << L'\n';
    try {
        body();
        return true;
    } catch (const pkgshared::Exception& e) {
        out << L"  Error " << e.GetErrorCode() << L": "
            << pkgshared::FormatErrorMessage(e, language) << L'\n';
    } catch (const std::exception& e) {
        out << L"  Error: " << pkgshared::Utf8ToWide(e.what()) << L'\n';
    }
    return false;
}

void WriteProducts(const SecurityProductList& list, std::wostream& out) {
    out << L"  Status " << list.status << L": " << SecurityStatusText(list.status) << L'\n';
    for (const auto& product : list.products) {
        out << L"  " << product.displayName << (product.enabled ? L" (on)" : L" (not on)") << L'\n';
    }
}

}  // namespace

std::wstring SecurityStatusText(std::uint32_t status) {
    switch (status) {
        case SecurityProductList::kLoaded:
            return L"loaded";
        case SecurityProductList::kNotAvailable:
            return L"not available (this system has no Security Center product list)";
        case SecurityProductList::kServiceNotRunning:
            return L"the Security Center service is not running";
        default:
            return L"unknown";
    }
}

bool WriteSystemSummary(OrvikPkg::SystemInfo::ISystemInformation& information,
                        const std::wstring& systemDrive, std::uint16_t language,
                        std::wostream& out) {
    bool ok = Section(L"Operating system", language, out, [&] {
        const auto system = information.GetOperatingSystem();
        out << L"  Caption: " << system.caption << L"\n  Version: " << system.version
            << L"\n  Architecture: " << system.architecture << L"\n  Service pack: "
            << system.servicePackMajorVersion << L'.' << system.servicePackMinorVersion
            << L"\n  Product type: " << system.productType << L'\n';
    });
    ok &= Section(L"Memory", language, out, [&] {
        const auto memory = information.GetMemory();
        out << L"  Available physical memory: " << Bytes(memory.availablePhysicalBytes)
            << L"\n  Memory load: " << memory.memoryLoadPercent
            << L" %\n  Available virtual memory of this process: "
            << Bytes(memory.availableVirtualBytes) << L'\n';
    });
    ok &= Section(L"System drive", language, out, [&] {
        const auto space = information.GetDiskSpace(systemDrive);
        out << L"  Drive: " << systemDrive << L"\n  Free: " << Bytes(space.freeBytesAvailable)
            << L"\n  Total: " << Bytes(space.totalBytes) << L'\n';
    });
    ok &= Section(L"User locale", language, out, [&] {
        const std::wstring name = information.GetLocaleName(false);
        out << L"  " << name << L'\n';
    });
    ok &= Section(L"System locale", language, out, [&] {
        const std::wstring name = information.GetLocaleName(true);
        out << L"  " << name << L'\n';
    });
    auto& security = information.GetSecurityProvidersInformation();
    ok &= Section(L"Antivirus products", language, out,
                  [&] { WriteProducts(security.GetAntivirusProducts(), out); });
    ok &= Section(L"Antispyware products", language, out,
                  [&] { WriteProducts(security.GetAntispywareProducts(), out); });
    ok &= Section(L"Firewall products", language, out,
                  [&] { WriteProducts(security.GetFirewallProducts(), out); });
    ok &= Section(L"Windows updates of the last 24 hours", language, out, [&] {
        const auto titles = information.GetRecentWindowsUpdates();
        if (titles.empty()) {
            out << L"  None\n";
        }
        for (const std::wstring& title : titles) {
            out << L"  " << title << L'\n';
        }
    });
    return ok;
}

}  // namespace orvik::sysinfo
