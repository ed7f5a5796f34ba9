#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>

#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/RecentWindowsUpdates.h"
#include "shared/SystemInfo/WindowsEventLog.h"
#include "support/SystemInfoMocks.h"
#include "support/Thrown.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using ::testing::_;
using ::testing::Return;

const EVT_HANDLE kQuery = reinterpret_cast<EVT_HANDLE>(0x10);
const EVT_HANDLE kContext = reinterpret_cast<EVT_HANDLE>(0x20);
const EVT_HANDLE kEvent = reinterpret_cast<EVT_HANDLE>(0x30);
const EVT_HANDLE kOtherEvent = reinterpret_cast<EVT_HANDLE>(0x31);
constexpr ULONGLONG k1970 = 116444736000000000ull;  // as a FILETIME

std::vector<std::uint8_t> Bytes(const void* data, size_t size) {
    const auto* begin = static_cast<const std::uint8_t*>(data);
    return {begin, begin + size};
}

// The system-properties block of an event: every property null except the
// creation time and the keywords.
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
    L"<Event xmlns='http://schemas.microsoft.com/win/2004/08/events/event'>"
    L"<System><Provider Name='Microsoft-Windows-WindowsUpdateClient'/></System>"
    L"<EventData><Data Name='updateTitle'>Security Update \u00e9 (KB1)</Data>"
    L"<Data Name='updateGuid'>{A}</Data><Other Name='kind'>second</Other>"
    L"<Data Name='updateGuid'>{B}</Data><Data Name='empty'/></EventData></Event>";

// Stands in for the event log: events render like the system's, failing
// with ERROR_INSUFFICIENT_BUFFER and the size needed when the buffer is too
// small.
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
                             PDWORD) -> BOOL {
            *used = static_cast<DWORD>(bytes.size());
            if (size < bytes.size()) {
                lastError = ERROR_INSUFFICIENT_BUFFER;
                return FALSE;
            }
            std::memcpy(buffer, bytes.data(), bytes.size());
            return TRUE;
        };
    }
    // A call that fails with `error` as the last error and answers `result`.
    template <typename Result>
    auto Fail(DWORD error, Result result) {
        return [this, error, result](auto...) {
            lastError = error;
            return result;
        };
    }
    // EvtNext answering `count` handles, the first being `event`.
    static auto Deliver(EVT_HANDLE event, DWORD count = 1) {
        return [event, count](EVT_HANDLE, DWORD wanted, EVT_HANDLE* events, DWORD timeout,
                              DWORD flags, PDWORD returned) {
            EXPECT_EQ(1u, wanted);
            EXPECT_EQ(INFINITE, timeout);
            EXPECT_EQ(0u, flags);
            events[0] = event;
            *returned = count;
            return TRUE;
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

TEST_F(EventLogTest, RenderGrowsTheBufferToExactlyTheSizeAsked) {
    std::vector<std::uint8_t> buffer;
    {
        ::testing::InSequence order;
        EXPECT_CALL(api, EvtRender(kContext, kEvent, 0u, 0u, _, _, _))
            .WillOnce(RenderFrom(std::vector<std::uint8_t>(40, 7)));
        EXPECT_CALL(api, EvtRender(kContext, kEvent, 0u, 40u, _, _, _))
            .WillOnce(RenderFrom(std::vector<std::uint8_t>(40, 7)));
    }
    RenderEvent(api, kContext, kEvent, 0, buffer);
    EXPECT_EQ(std::vector<std::uint8_t>(40, 7), buffer);
    // A buffer that is large enough is rendered into once and kept.
    EXPECT_CALL(api, EvtRender(kContext, kEvent, 0u, 40u, _, _, _))
        .WillOnce(RenderFrom(std::vector<std::uint8_t>(8, 1)));
    RenderEvent(api, kContext, kEvent, 0, buffer);
    EXPECT_EQ(40u, buffer.size());
}

// Every integer type is accepted for the time, the integer ones for the
// keywords; the time is truncated to microseconds towards 1970.
TEST_F(EventLogTest, TimeAndKeywordsOfEachAcceptedType) {
    for (const DWORD type : {9u, 10u, 17u, 21u}) {
        Serve(kEvent,
              Properties(type, k1970 + 12345678, type == 17 ? 21 : type, 0x8000000000002000ull));
        const WindowsEvent event(api, kEvent);
        EXPECT_EQ(12345670, event.GetTimeCreated().time_since_epoch().count()) << type;
        for (const auto& [keyword, has] : {std::pair<std::uint64_t, bool>{0x2000, true},
                                           {0x8000000000000000ull, true},
                                           {0x6000, true},
                                           {0x4000, false},
                                           {0, false}}) {
            EXPECT_EQ(has, event.HasKeyword(static_cast<std::int64_t>(keyword))) << keyword;
        }
    }
    Serve(kEvent, Properties(17, k1970 - 15));
    EXPECT_EQ(-10, WindowsEvent(api, kEvent).GetTimeCreated().time_since_epoch().count());
}

TEST_F(EventLogTest, EventDataIsFoundByItsExactName) {
    Serve(kEvent, Properties(17, 0));
    const WindowsEvent event(api, kEvent);
    const struct {
        const wchar_t* name;
        const wchar_t* value;
        bool found;
    } rows[] = {{L"updateTitle", L"Security Update \u00e9 (KB1)", true},
                {L"updateGuid", L"{A}", true},  // the first of two
                {L"kind", L"second", true},     // any element name
                {L"empty", L"", true},
                {L"UpdateTitle", L"", false},
                {L"updateTitl", L"", false},
                {L"", L"", false}};
    for (const auto& row : rows) {
        bool found = !row.found;
        EXPECT_EQ(row.value, event.GetEventDataValue(row.name, &found)) << row.name;
        EXPECT_EQ(row.found, found) << row.name;
    }
    EXPECT_EQ(L"{A}", event.GetEventDataValue(L"updateGuid"));
}

TEST_F(EventLogTest, QueryIsNewestFirstAndNextHoldsOneEventUntilNoMoreItems) {
    EXPECT_CALL(api,
                EvtQuery(nullptr, ::testing::StrEq(L"System"), ::testing::StrEq(L"<q/>"), 0x201u))
        .WillOnce(Return(kQuery));
    auto query = WindowsEventLog(api).Query(L"System", L"<q/>");
    Serve(kEvent, Properties(17, k1970 + 10));
    Serve(kOtherEvent, Properties(17, k1970 + 20));
    EXPECT_CALL(api, EvtNext(kQuery, _, _, _, _, _))
        .WillOnce(Deliver(kEvent))
        .WillOnce(Deliver(kOtherEvent))
        .WillOnce(Fail(ERROR_NO_MORE_ITEMS, FALSE));
    EXPECT_CALL(api, EvtClose(kContext)).Times(::testing::AnyNumber());
    EXPECT_EQ(10, query->Next()->GetTimeCreated().time_since_epoch().count());
    EXPECT_CALL(api, EvtClose(kEvent));  // the previous event goes
    EXPECT_EQ(20, query->Next()->GetTimeCreated().time_since_epoch().count());
    EXPECT_CALL(api, EvtClose(kOtherEvent));  // and so does the last at the end
    EXPECT_EQ(nullptr, query->Next());
    EXPECT_CALL(api, EvtClose(kQuery));
    query.reset();
}

// Each row: what fails, the call, the raising line and the message
// arguments; two arguments make a Windows call error, four an event error.
TEST_F(EventLogTest, FailuresRaiseWithTheCallAndTheirLine) {
    const std::wstring broken = L"<Event><EventData><Data Name='x'></EventData>";
    const std::wstring noData = L"<Event><System/></Event>", xml = L"Event XML";
    const std::wstring time = L"systemProperties[EvtSystemTimeCreated].Type";
    const std::wstring keywords = L"systemProperties[EvtSystemKeywords].Type";
    const wchar_t* const ev = L"source\\shared\\SystemInfo\\WindowsEvent";
    const wchar_t* const qu = L"source\\shared\\SystemInfo\\WindowsEventQuery";
    std::vector<std::uint8_t> buffer;
    using Call = std::function<void()>;
    const Call render = [&] { RenderEvent(api, kContext, kEvent, 0, buffer); };
    const Call make = [&] { WindowsEvent(api, kEvent); };
    const Call next = [&] { WindowsEventQuery(api, kQuery).Next(); };
    // Serves the event; both handles are closed once whatever fails.
    auto serve = [&](std::vector<std::uint8_t> properties, const std::wstring& text) {
        return [=] {
            Serve(kEvent, properties, text);
            EXPECT_CALL(api, EvtClose(kEvent));
            EXPECT_CALL(api, EvtClose(kContext));
        };
    };
    const struct {
        Call arrange, act;
        const wchar_t* source;
        std::int32_t line;
        std::vector<std::wstring> arguments;
    } rows[] = {
        {[&] { EXPECT_CALL(api, EvtRender).WillOnce(Fail(6, FALSE)); },
         render,
         ev,
         130,
         {L"6", L"EvtRender"}},
        {[&] {
             EXPECT_CALL(api, EvtRender)
                 .WillOnce(RenderFrom(std::vector<std::uint8_t>(16)))
                 .WillOnce(Fail(14, FALSE));
         },
         render,
         ev,
         138,
         {L"14", L"EvtRender"}},
        {[&] {
             EXPECT_CALL(api, EvtCreateRenderContext).WillOnce(Fail(8, EVT_HANDLE{}));
             EXPECT_CALL(api, EvtClose(kEvent));
         },
         make,
         ev,
         84,
         {L"8", L"EvtCreateRenderContext"}},
        {serve(Properties(EvtVarTypeSysTime, 0), kUpdateXml),
         [&] { WindowsEvent(api, kEvent).GetTimeCreated(); },
         ev,
         21,
         {L"GetTimeCreated()", time + L" != EvtVarTypeFileTime", time, L"18"}},
        {serve(Properties(17, 0, 17, 0x2000), kUpdateXml),
         [&] { WindowsEvent(api, kEvent).HasKeyword(0x2000); },
         ev,
         39,
         {L"HasKeyword(int64_t keyword)", keywords + L" != EvtVarTypeHexInt64", keywords, L"17"}},
        {serve(Properties(17, 0), broken),
         make,
         ev,
         106,
         {L"parseResult = eventXmlDocument.load_buffer(eventXmlBuffer.data(), "
          L"eventXmlBuffer.size())",
          L"!parseResult", xml, broken}},
        {serve(Properties(17, 0), noData),
         make,
         ev,
         83,
         {L"eventDataNode = doc.child(Event).child(EventData)", L"!eventDataNode", xml, noData}},
        {[&] { EXPECT_CALL(api, EvtQuery).WillOnce(Fail(15007, EVT_HANDLE{})); },
         [&] { WindowsEventLog(api).Query(L"Nope", L"<q/>"); },
         L"source\\shared\\SystemInfo/WindowsEventLog",
         66,
         {L"15007", L"EvtQuery"}},
        {[&] { EXPECT_CALL(api, EvtNext).WillOnce(Fail(1460, FALSE)); },
         next,
         qu,
         19,
         {L"1460", L"EvtNext"}},
        {[&] { EXPECT_CALL(api, EvtNext).WillOnce(Deliver(kEvent, 0)); },
         next,
         qu,
         28,
         {L"EvtNext", L"handlesReturned == 0", L"handlesReturned", L"0"}},
        {[&] { EXPECT_CALL(api, EvtNext).WillOnce(Deliver(nullptr)); },
         next,
         qu,
         37,
         {L"EvtNext", L"windowsEvent == nullptr", L"windowsEvent", L"nullptr"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        row.arrange();
        orvik::testing::ExpectThrows(
            row.act,
            {row.arguments.size() == 2 ? orvik::pkgshared::kWindowsFunctionErrorCode : -125246,
             row.arguments, row.source, row.line});
        ::testing::Mock::VerifyAndClearExpectations(&api);
    }
}

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
