#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cstring>
#include <map>
#include "shared/SystemInfo/RecentWindowsUpdates.h"
#include "shared/SystemInfo/WindowsEventLog.h"
#include "support/SystemInfoMocks.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {
using orvik::testing::CodeOf;
using ::testing::_;
using ::testing::Return;
const EVT_HANDLE kContext = reinterpret_cast<EVT_HANDLE>(0x20);
const EVT_HANDLE kEvent = reinterpret_cast<EVT_HANDLE>(0x30);
constexpr ULONGLONG k1970 = 116444736000000000ull;  // as a FILETIME
std::vector<std::uint8_t> Bytes(const void* data, size_t size) {
    return {static_cast<const std::uint8_t*>(data), static_cast<const std::uint8_t*>(data) + size};
}
// An event's system properties: all null but the creation time and the keywords.
std::vector<std::uint8_t> Properties(DWORD timeType, ULONGLONG time, DWORD keywordsType = 21,
                                     ULONGLONG keywords = 0) {
    std::vector<EVT_VARIANT> values(EvtSystemPropertyIdEND);
    values[EvtSystemTimeCreated].Type = timeType;
    values[EvtSystemTimeCreated].FileTimeVal = time;
    values[EvtSystemKeywords].Type = keywordsType;
    values[EvtSystemKeywords].UInt64Val = keywords;
    return Bytes(values.data(), values.size() * sizeof(EVT_VARIANT));
}
const std::wstring kUpdateXml =
    L"<Event><System/><EventData><Data Name='updateTitle'>Security Update \u00e9 (KB1)</Data>"
    L"<Data Name='updateGuid'>{A}</Data><Other Name='kind'>second</Other>"
    L"<Data Name='updateGuid'>{B}</Data><Data Name='empty'/></EventData></Event>";
// Renders like the system: ERROR_INSUFFICIENT_BUFFER and the size when too small.
class EventLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        EXPECT_CALL(api.errors, GetLastError())
            .WillRepeatedly(::testing::ReturnPointee(&lastError));
        ON_CALL(api, EvtCreateRenderContext(0, nullptr, EvtRenderContextSystem))
            .WillByDefault(Return(kContext));
        ON_CALL(api, EvtClose(_)).WillByDefault(Return(TRUE));
    }
    auto RenderFrom(std::vector<std::uint8_t> bytes) {
        return [this, bytes](EVT_HANDLE, EVT_HANDLE, DWORD, DWORD size, PVOID buffer, PDWORD used,
                             PDWORD) {
            *used = static_cast<DWORD>(bytes.size());
            lastError = ERROR_INSUFFICIENT_BUFFER;
            return size >= bytes.size() && std::memcpy(buffer, bytes.data(), bytes.size());
        };
    }
    void Serve(EVT_HANDLE event, std::vector<std::uint8_t> properties,
               const std::wstring& xml = kUpdateXml) {
        ON_CALL(api, EvtRender(kContext, event, EvtRenderEventValues, _, _, _, _))
            .WillByDefault(RenderFrom(std::move(properties)));
        ON_CALL(api, EvtRender(nullptr, event, EvtRenderEventXml, _, _, _, _))
            .WillByDefault(RenderFrom(Bytes(xml.c_str(), (xml.size() + 1) * sizeof(wchar_t))));
    }
    ::testing::NiceMock<orvik::testing::MockEventLogApi> api;
    DWORD lastError = 0;
};
// Integer types only; time truncated to microseconds; data found by exact name.
TEST_F(EventLogTest, TimeKeywordsAndEventDataOfAnEvent) {
    for (const DWORD type : {9u, 10u, 17u, 21u}) {
        Serve(kEvent,
              Properties(type, k1970 + 12345678, type == 17 ? 21 : type, 0x8000000000002000ull));
        const WindowsEvent event(api, kEvent);
        EXPECT_EQ(12345670, event.GetTimeCreated().time_since_epoch().count()) << type;
        EXPECT_EQ((std::vector<bool>{true, true, true, false}),
                  (std::vector<bool>{event.HasKeyword(0x2000), event.HasKeyword(INT64_MIN),
                                     event.HasKeyword(0x6000), event.HasKeyword(0x4000)}));
    }
    Serve(kEvent, Properties(17, k1970 - 15));
    EXPECT_EQ(-10, WindowsEvent(api, kEvent).GetTimeCreated().time_since_epoch().count());
    Serve(kEvent, Properties(EvtVarTypeSysTime, 0, 17));  // refused types raise
    EXPECT_EQ(-125246, CodeOf([&] { WindowsEvent(api, kEvent).GetTimeCreated(); }));
    EXPECT_EQ(-125246, CodeOf([&] { WindowsEvent(api, kEvent).HasKeyword(1); }));
    const WindowsEvent event(api, kEvent);
    const std::tuple<const wchar_t*, const wchar_t*, bool> rows[] = {
        {L"updateTitle", L"Security Update \u00e9 (KB1)", true},
        {L"updateGuid", L"{A}", true},  // the first of two
        {L"UpdateTitle", L"", false},
        {L"updateTitl", L"", false}};
    for (const auto& [name, value, found] : rows) {
        bool answer = !found;
        EXPECT_EQ(value, event.GetEventDataValue(name, &answer)) << name;
        EXPECT_EQ(found, answer) << name;
    }
}
constexpr std::int64_t kHour = 36000000000;
const SystemTime kNow(SystemTicks(1000 * kHour));
using Data = std::map<std::wstring, std::wstring>;
struct FakeEvent : IWindowsEvent {
    FakeEvent(std::int64_t age, bool installed, Data data)
        : created(kNow - SystemTicks(age)), installed(installed), data(std::move(data)) {}
    SystemTime GetTimeCreated() const override { return created; }
    bool HasKeyword(std::int64_t keyword) const override { return keyword == 0x2000 && installed; }
    std::wstring GetEventDataValue(const std::wstring& name, bool* found) const override {
        *found = data.count(name) != 0;
        return *found ? data.at(name) : std::wstring();
    }
    SystemTime created;
    bool installed;
    Data data;
};
struct FakeEventLog : IWindowsEventLog, IWindowsEventQuery {
    std::unique_ptr<IWindowsEventQuery> Query(const std::wstring& channel,
                                              const std::wstring& text) override {
        query = channel + L"|" + text;
        return std::make_unique<FakeEventLog>(*this);
    }
    IWindowsEvent* Next() override { return read < events.size() ? &events[read++] : nullptr; }
    std::vector<FakeEvent> events;
    size_t read = 0;
    std::wstring query;
};
Data Update(const std::wstring& guid, const std::wstring& title) {
    return {{L"updateGuid", guid}, {L"updateTitle", title}};
}
TEST(RecentWindowsUpdatesTest, AsksForTheUpdateClientAndTakesTheLast24HoursNewestEventsOnly) {
    ::testing::StrictMock<orvik::testing::MockSystemInformation> system;
    EXPECT_CALL(system, GetCurrentTime()).WillRepeatedly(Return(kNow));
    FakeEventLog log;
    log.events = {{0, false, Update(L"{1}", L"Installed")},  // the newest of {1} lacks the keyword
                  {1, true, Update(L"{1}", L"Downloaded")},  // so the older one is ignored
                  {2, true, Update(L"{2}", L"Second")},
                  {3, true, Update(L"{2}", L"Second, older")},
                  {4, true, Data{{L"updateGuid", L"{3}"}}},  // no title: hides its older events
                  {5, true, Update(L"{3}", L"Hidden")},
                  {6, true, Data{{L"updateTitle", L"No guid"}}},
                  {7, true, Update(L"{5}", L"")},  // an empty title is still a title
                  {24 * kHour, true, Update(L"{6}", L"At the threshold")},
                  {24 * kHour + 1, true, Update(L"{7}", L"Just older")},
                  {1, true, Update(L"{8}", L"Never read")}};
    EXPECT_EQ((std::vector<std::wstring>{L"Second", L"", L"At the threshold"}),
              RecentWindowsUpdates(system, log).Read());
    EXPECT_NE(std::wstring::npos,
              log.query.find(L"Provider[@Name='Microsoft-Windows-WindowsUpdateClient']"));
}
}  // namespace
}  // namespace OrvikPkg::SystemInfo
