#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "shared/ErrorMessage.h"
#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/WindowsEventLog.h"
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

TEST_F(EventLogTest, FailuresRaiseWithTheCallAndTheirLine) {
    const std::wstring broken = L"<Event><EventData><Data Name='x'></EventData>";
    const std::wstring noData = L"<Event><System/></Event>";
    const std::int32_t windows = orvik::pkgshared::kWindowsFunctionErrorCode;
    const std::int32_t processing = -125246;
    const std::wstring source = L"source\\shared\\SystemInfo\\WindowsEvent";
    const std::wstring querySource = L"source\\shared\\SystemInfo\\WindowsEventQuery";
    std::vector<std::uint8_t> buffer;
    auto render = [&] { RenderEvent(api, kContext, kEvent, 0, buffer); };
    auto make = [&] { WindowsEvent event(api, kEvent); };
    auto next = [&] { WindowsEventQuery(api, kQuery).Next(); };
    auto closesBoth = [&] {
        EXPECT_CALL(api, EvtClose(kEvent));
        EXPECT_CALL(api, EvtClose(kContext));
    };
    const struct {
        const char* name;
        std::function<void()> arrange;
        std::function<void()> act;
        orvik::testing::ExpectedError expected;
    } rows[] = {
        {"render fails",
         [&] { EXPECT_CALL(api, EvtRender).WillOnce(Fail(6, FALSE)); },
         render,
         {windows, {L"6", L"EvtRender"}, source, 130}},
        {"render fails after growing",
         [&] {
             EXPECT_CALL(api, EvtRender)
                 .WillOnce(RenderFrom(std::vector<std::uint8_t>(16)))
                 .WillOnce(Fail(ERROR_OUTOFMEMORY, FALSE));
         },
         render,
         {windows, {L"14", L"EvtRender"}, source, 138}},
        {"no render context",
         [&] {
             EXPECT_CALL(api, EvtCreateRenderContext).WillOnce(Fail(8, EVT_HANDLE{}));
             EXPECT_CALL(api, EvtClose(kEvent));
         },
         make,
         {windows, {L"8", L"EvtCreateRenderContext"}, source, 84}},
        {"time of another type",
         [&] { Serve(kEvent, Properties(EvtVarTypeSysTime, 0)); },
         [&] { WindowsEvent(api, kEvent).GetTimeCreated(); },
         {processing,
          {L"GetTimeCreated()",
           L"systemProperties[EvtSystemTimeCreated].Type != EvtVarTypeFileTime",
           L"systemProperties[EvtSystemTimeCreated].Type", L"18"},
          source,
          21}},
        {"keywords of another type",
         [&] { Serve(kEvent, Properties(17, 0, 17, 0x2000)); },
         [&] { WindowsEvent(api, kEvent).HasKeyword(0x2000); },
         {processing,
          {L"HasKeyword(int64_t keyword)",
           L"systemProperties[EvtSystemKeywords].Type != EvtVarTypeHexInt64",
           L"systemProperties[EvtSystemKeywords].Type", L"17"},
          source,
          39}},
        {"broken XML",
         [&] {
             Serve(kEvent, Properties(17, 0), broken);
             closesBoth();
         },
         make,
         {processing,
          {L"parseResult = eventXmlDocument.load_buffer(eventXmlBuffer.data(), "
           L"eventXmlBuffer.size())",
           L"!parseResult", L"Event XML", broken},
          source,
          106}},
        {"no event data",
         [&] {
             Serve(kEvent, Properties(17, 0), noData);
             closesBoth();
         },
         make,
         {processing,
          {L"eventDataNode = doc.child(Event).child(EventData)", L"!eventDataNode", L"Event XML",
           noData},
          source,
          83}},
        {"query fails",
         [&] {
             EXPECT_CALL(api, EvtQuery).WillOnce(Fail(ERROR_EVT_CHANNEL_NOT_FOUND, EVT_HANDLE{}));
         },
         [&] { WindowsEventLog(api).Query(L"Nope", L"<q/>"); },
         {windows,
          {std::to_wstring(ERROR_EVT_CHANNEL_NOT_FOUND), L"EvtQuery"},
          L"source\\shared\\SystemInfo/WindowsEventLog",
          66}},
        {"next fails",
         [&] { EXPECT_CALL(api, EvtNext).WillOnce(Fail(ERROR_TIMEOUT, FALSE)); },
         next,
         {windows, {std::to_wstring(ERROR_TIMEOUT), L"EvtNext"}, querySource, 19}},
        {"next answers no handle",
         [&] { EXPECT_CALL(api, EvtNext).WillOnce(Deliver(kEvent, 0)); },
         next,
         {processing,
          {L"EvtNext", L"handlesReturned == 0", L"handlesReturned", L"0"},
          querySource,
          28}},
        {"next answers a null handle",
         [&] { EXPECT_CALL(api, EvtNext).WillOnce(Deliver(nullptr)); },
         next,
         {processing,
          {L"EvtNext", L"windowsEvent == nullptr", L"windowsEvent", L"nullptr"},
          querySource,
          37}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.arrange();
        orvik::testing::ExpectThrows(row.act, row.expected);
        ::testing::Mock::VerifyAndClearExpectations(&api);
    }
}

TEST(WindowsEventProcessingErrorTest, CatalogTextNamesTheFourParts) {
    const WindowsEventLog::WindowsEventProcessingError e(L"op", L"cond", L"name", L"value", L"file",
                                                         5);
    orvik::testing::ExpectError(e, {-125246, {L"op", L"cond", L"name", L"value"}, L"file", 5});
    EXPECT_EQ(
        L"An error occurred processing Windows events. The operation 'op' had a failed "
        L"condition 'cond'. The value of 'name' was: value",
        orvik::pkgshared::FormatErrorMessage(e.GetErrorCode(), 0x0409, e.GetMessageArgument0(),
                                             e.GetMessageArgument1(), e.GetMessageArgument2(),
                                             e.GetMessageArgument3()));
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
