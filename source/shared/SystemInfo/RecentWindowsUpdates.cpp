#include "shared/SystemInfo/RecentWindowsUpdates.h"

#include <set>

#include "shared/SystemInfo/ISystemInformation.h"

namespace OrvikPkg::SystemInfo {
namespace {

constexpr SystemTicks kWindow(864000000000);  // 24 hours
constexpr std::int64_t kReportedKeyword = 0x2000;

}  // namespace

const wchar_t kWindowsUpdateQuery[] =
    L"<QueryList>"
    L"  <Query Id='0' Path='System'>"
    L"    <Select Path='System'>"
    L"      *[System[(        Provider[@Name='Microsoft-Windows-WindowsUpdateClient']"
    L"       )]]    </Select>"
    L"    <Suppress Path='System'>"
    L"      *[System[(        Opcode=0 or Opcode=1 or Opcode=2 or Opcode=12 or Opcode=16"
    L" or Opcode=17 or Opcode=18       )]]    </Suppress>"
    L"  </Query>"
    L"</QueryList>";

std::vector<std::wstring> RecentWindowsUpdates::Read() {
    const std::unique_ptr<IWindowsEventQuery> query =
        eventLog_.Query(L"System", kWindowsUpdateQuery);
    const SystemTime threshold = systemInformation_.GetCurrentTime() - kWindow;
    std::set<std::wstring> seenGuids;
    std::vector<std::wstring> titles;
    while (const IWindowsEvent* event = query->Next()) {
        if (event->GetTimeCreated() < threshold) {
            break;
        }
        bool hasGuid = false;
        const std::wstring guid = event->GetEventDataValue(L"updateGuid", &hasGuid);
        if (!hasGuid) {
            continue;
        }
        if (seenGuids.count(guid) == 0 && event->HasKeyword(kReportedKeyword)) {
            bool hasTitle = false;
            std::wstring title = event->GetEventDataValue(L"updateTitle", &hasTitle);
            if (hasTitle) {
                titles.push_back(std::move(title));
            }
        }
        seenGuids.insert(guid);
    }
    return titles;
}

}  // namespace OrvikPkg::SystemInfo
