#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "shared/SystemInfo/RecentWindowsUpdates.h"
#include "support/SystemInfoMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using ::testing::Return;

constexpr std::int64_t kHour = 36000000000;
const SystemTime kNow(SystemTicks(1000 * kHour));

// An event that has the keyword of installed updates, or not; the keyword
// asked for must be that one.
struct FakeEvent : IWindowsEvent {
    FakeEvent(std::int64_t ageInTicks, bool installed, std::map<std::wstring, std::wstring> data)
        : created(kNow - SystemTicks(ageInTicks)), installed(installed), data(std::move(data)) {}
    SystemTime GetTimeCreated() const override { return created; }
    bool HasKeyword(std::int64_t keyword) const override {
        EXPECT_EQ(0x2000, keyword);
        return installed;
    }
    std::wstring GetEventDataValue(const std::wstring& name, bool* found) const override {
        const auto it = data.find(name);
        *found = it != data.end();
        return *found ? it->second : std::wstring();
    }
    SystemTime created;
    bool installed;
    std::map<std::wstring, std::wstring> data;
};

// Hands out its events in order and counts how many were read.
class FakeEventLog : public IWindowsEventLog {
public:
    struct Query : IWindowsEventQuery {
        explicit Query(FakeEventLog& log) : log(log) {}
        IWindowsEvent* Next() override {
            return log.read < log.events.size() ? &log.events[log.read++] : nullptr;
        }
        FakeEventLog& log;
    };
    std::unique_ptr<IWindowsEventQuery> Query(const std::wstring& channel,
                                              const std::wstring& query) override {
        channels.push_back(channel);
        queries.push_back(query);
        return std::make_unique<struct Query>(*this);
    }
    std::vector<FakeEvent> events;
    size_t read = 0;
    std::vector<std::wstring> channels;
    std::vector<std::wstring> queries;
};

class RecentWindowsUpdatesTest : public ::testing::Test {
protected:
    void SetUp() override { EXPECT_CALL(system, GetCurrentTime()).WillRepeatedly(Return(kNow)); }
    std::vector<std::wstring> Read() { return RecentWindowsUpdates(system, log).Read(); }

    ::testing::StrictMock<orvik::testing::MockSystemInformation> system;
    FakeEventLog log;
};

using Data = std::map<std::wstring, std::wstring>;
Data Update(const std::wstring& guid, const std::wstring& title) {
    return {{L"updateGuid", guid}, {L"updateTitle", title}};
}

TEST_F(RecentWindowsUpdatesTest, AsksForTheUpdateClientAndTakesTheLast24HoursOnly) {
    log.events.emplace_back(0, true, Update(L"{1}", L"Now"));
    log.events.emplace_back(24 * kHour, true, Update(L"{2}", L"At the threshold"));
    log.events.emplace_back(24 * kHour + 1, true, Update(L"{3}", L"Just older"));
    log.events.emplace_back(1, true, Update(L"{4}", L"Never read"));
    EXPECT_EQ((std::vector<std::wstring>{L"Now", L"At the threshold"}), Read());
    EXPECT_EQ(3u, log.read);  // stops at the first older event
    EXPECT_EQ(std::vector<std::wstring>{L"System"}, log.channels);
    EXPECT_EQ(
        std::vector<std::wstring>{
            L"<QueryList>  <Query Id='0' Path='System'>    <Select Path='System'>      "
            L"*[System[(        Provider[@Name='Microsoft-Windows-WindowsUpdateClient']  "
            L"     )]]    </Select>    <Suppress Path='System'>      *[System[(        "
            L"Opcode=0 or Opcode=1 or Opcode=2 or Opcode=12 or Opcode=16 or Opcode=17 or "
            L"Opcode=18       )]]    </Suppress>  </Query></QueryList>"},
        log.queries);
}

TEST_F(RecentWindowsUpdatesTest, OnlyTheNewestEventOfAnUpdateDecides) {
    // The newest event of {1} lacks the keyword: the older one with it is ignored.
    log.events.emplace_back(1, false, Update(L"{1}", L"Installed"));
    log.events.emplace_back(2, true, Update(L"{1}", L"Downloaded"));
    log.events.emplace_back(3, true, Update(L"{2}", L"Second"));
    log.events.emplace_back(4, true, Update(L"{2}", L"Second, older"));
    // No title: nothing is listed, yet the GUID hides its older events.
    log.events.emplace_back(5, true, Data{{L"updateGuid", L"{3}"}});
    log.events.emplace_back(6, true, Update(L"{3}", L"Hidden"));
    // No GUID: skipped without hiding anything.
    log.events.emplace_back(7, true, Data{{L"updateTitle", L"No guid"}});
    log.events.emplace_back(8, true, Update(L"{4}", L"Fourth"));
    // An empty title is still a title.
    log.events.emplace_back(9, true, Update(L"{5}", L""));
    EXPECT_EQ((std::vector<std::wstring>{L"Second", L"Fourth", L""}), Read());
    EXPECT_EQ(log.events.size(), log.read);
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
