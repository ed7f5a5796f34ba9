#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "shared/ErrorMessage.h"
#include "shared/ExceptionFamily.h"
#include "shared/SystemInfo/WindowsEventLog.h"
#include "support/TestData.h"
#include "support/WindowsApiMocks.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::pkgshared::Exception;
using orvik::testing::Caught;
using ::testing::_;
using ::testing::InSequence;
using ::testing::NiceMock;
using ::testing::Return;
using ::testing::ReturnPointee;

const EVT_HANDLE kQuery = reinterpret_cast<EVT_HANDLE>(0x10);
const EVT_HANDLE kContext = reinterpret_cast<EVT_HANDLE>(0x20);
const EVT_HANDLE kEvent = reinterpret_cast<EVT_HANDLE>(0x30);
const EVT_HANDLE kOtherEvent = reinterpret_cast<EVT_HANDLE>(0x31);

constexpr ULONGLONG kFileTimeOf1970 = 116444736000000000ull;

// The system-properties block of an event: every property null except the
// creation time and the keywords.
std::vector<std::uint8_t> SystemProperties(DWORD timeType, ULONGLONG time, DWORD keywordsType,
                                           ULONGLONG keywords) {
    std::vector<EVT_VARIANT> values(EvtSystemPropertyIdEND);
    values[EvtSystemTimeCreated].Type = timeType;
    values[EvtSystemTimeCreated].FileTimeVal = time;
    values[EvtSystemKeywords].Type = keywordsType;
    values[EvtSystemKeywords].UInt64Val = keywords;
    std::vector<std::uint8_t> bytes(values.size() * sizeof(EVT_VARIANT));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

std::vector<std::uint8_t> XmlBytes(const std::wstring& xml) {
    std::vector<std::uint8_t> bytes((xml.size() + 1) * sizeof(wchar_t));
    std::memcpy(bytes.data(), xml.c_str(), bytes.size());
    return bytes;
}

const wchar_t kUpdateXml[] =
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
        EXPECT_CALL(api.errors, GetLastError()).WillRepeatedly(ReturnPointee(&lastError));
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

    void Serve(EVT_HANDLE event, std::vector<std::uint8_t> properties,
               const std::wstring& xml = kUpdateXml) {
        ON_CALL(api, EvtRender(kContext, event, EvtRenderEventValues, _, _, _, _))
            .WillByDefault(RenderFrom(std::move(properties)));
        ON_CALL(api, EvtRender(nullptr, event, EvtRenderEventXml, _, _, _, _))
            .WillByDefault(RenderFrom(XmlBytes(xml)));
    }

    NiceMock<orvik::testing::MockEventLogApi> api;
    DWORD lastError = 0;
};

void ExpectRaised(const Exception& e, std::int32_t code, const wchar_t* source, std::int32_t line) {
    EXPECT_EQ(code, e.GetErrorCode());
    EXPECT_STREQ(source, e.GetSourceFile());
    EXPECT_EQ(line, e.GetLineNumber());
}

constexpr std::int32_t kProcessingError = -125246;
constexpr std::int32_t kWindowsError = orvik::pkgshared::kWindowsFunctionErrorCode;
const wchar_t kEventSource[] = L"source\\shared\\SystemInfo\\WindowsEvent";
const wchar_t kQuerySource[] = L"source\\shared\\SystemInfo\\WindowsEventQuery";

TEST_F(EventLogTest, RenderGrowsTheBufferToExactlyTheSizeAsked) {
    std::vector<std::uint8_t> buffer;
    {
        InSequence order;
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

TEST_F(EventLogTest, RenderFailuresNameTheCallAndTheirLine) {
    std::vector<std::uint8_t> buffer;
    EXPECT_CALL(api, EvtRender(_, _, _, _, _, _, _)).WillOnce([this](auto...) {
        lastError = ERROR_INVALID_HANDLE;
        return FALSE;
    });
    const Exception first = Caught([&] { RenderEvent(api, kContext, kEvent, 0, buffer); });
    ExpectRaised(first, kWindowsError, kEventSource, 130);
    EXPECT_EQ(L"6", first.GetMessageArgument0());
    EXPECT_EQ(L"EvtRender", first.GetMessageArgument1());

    EXPECT_CALL(api, EvtRender(_, _, _, _, _, _, _))
        .WillOnce(RenderFrom(std::vector<std::uint8_t>(16)))
        .WillOnce([this](auto...) {
            lastError = ERROR_OUTOFMEMORY;
            return FALSE;
        });
    const Exception second = Caught([&] { RenderEvent(api, kContext, kEvent, 0, buffer); });
    ExpectRaised(second, kWindowsError, kEventSource, 138);
    EXPECT_EQ(std::to_wstring(ERROR_OUTOFMEMORY), second.GetMessageArgument0());
    EXPECT_EQ(16u, buffer.size());
}

TEST_F(EventLogTest, CreationTimeIsAFileTimeTruncatedToMicroseconds) {
    for (const DWORD type : {9u, 10u, 17u, 21u}) {
        Serve(kEvent, SystemProperties(type, kFileTimeOf1970 + 12345678, 21, 0));
        const WindowsEvent event(api, kEvent);
        EXPECT_EQ(12345670, event.GetTimeCreated().time_since_epoch().count()) << type;
    }
    Serve(kEvent, SystemProperties(17, kFileTimeOf1970 - 15, 21, 0));
    EXPECT_EQ(-10, WindowsEvent(api, kEvent).GetTimeCreated().time_since_epoch().count());
}

TEST_F(EventLogTest, CreationTimeOfAnotherTypeIsRefused) {
    Serve(kEvent, SystemProperties(EvtVarTypeSysTime, 0, 21, 0));
    const WindowsEvent event(api, kEvent);
    const Exception e = Caught([&] { event.GetTimeCreated(); });
    ExpectRaised(e, kProcessingError, kEventSource, 21);
    EXPECT_EQ(L"GetTimeCreated()", e.GetMessageArgument0());
    EXPECT_EQ(L"systemProperties[EvtSystemTimeCreated].Type != EvtVarTypeFileTime",
              e.GetMessageArgument1());
    EXPECT_EQ(L"systemProperties[EvtSystemTimeCreated].Type", e.GetMessageArgument2());
    EXPECT_EQ(L"18", e.GetMessageArgument3());
}

TEST_F(EventLogTest, KeywordsMatchByAnySharedBit) {
    Serve(kEvent, SystemProperties(17, 0, 21, 0x8000000000002000ull));
    const WindowsEvent event(api, kEvent);
    EXPECT_TRUE(event.HasKeyword(0x2000));
    EXPECT_TRUE(event.HasKeyword(static_cast<std::int64_t>(0x8000000000000000ull)));
    EXPECT_TRUE(event.HasKeyword(0x6000));
    EXPECT_FALSE(event.HasKeyword(0x4000));
    EXPECT_FALSE(event.HasKeyword(0));

    for (const DWORD type : {9u, 10u}) {
        Serve(kEvent, SystemProperties(17, 0, type, 0x2000));
        EXPECT_TRUE(WindowsEvent(api, kEvent).HasKeyword(0x2000)) << type;
    }
    Serve(kEvent, SystemProperties(17, 0, EvtVarTypeFileTime, 0x2000));
    const WindowsEvent fileTimeKeywords(api, kEvent);
    const Exception e = Caught([&] { fileTimeKeywords.HasKeyword(0x2000); });
    ExpectRaised(e, kProcessingError, kEventSource, 39);
    EXPECT_EQ(L"HasKeyword(int64_t keyword)", e.GetMessageArgument0());
    EXPECT_EQ(L"systemProperties[EvtSystemKeywords].Type != EvtVarTypeHexInt64",
              e.GetMessageArgument1());
    EXPECT_EQ(L"17", e.GetMessageArgument3());
}

TEST_F(EventLogTest, EventDataIsFoundByItsExactName) {
    Serve(kEvent, SystemProperties(17, 0, 21, 0));
    const WindowsEvent event(api, kEvent);
    bool found = false;
    EXPECT_EQ(L"Security Update \u00e9 (KB1)", event.GetEventDataValue(L"updateTitle", &found));
    EXPECT_TRUE(found);
    EXPECT_EQ(L"{A}", event.GetEventDataValue(L"updateGuid", &found));  // the first of two
    EXPECT_EQ(L"second", event.GetEventDataValue(L"kind", &found));     // any element name
    EXPECT_TRUE(found);
    EXPECT_EQ(L"", event.GetEventDataValue(L"empty", &found));
    EXPECT_TRUE(found);
    EXPECT_EQ(L"", event.GetEventDataValue(L"UpdateTitle", &found));  // case matters
    EXPECT_FALSE(found);
    EXPECT_EQ(L"", event.GetEventDataValue(L"updateTitl", &found));
    EXPECT_FALSE(found);
    EXPECT_EQ(L"", event.GetEventDataValue(L"", &found));
    EXPECT_FALSE(found);
    EXPECT_EQ(L"{A}", event.GetEventDataValue(L"updateGuid"));
}

TEST_F(EventLogTest, BrokenEventXmlIsRefusedAndTheHandlesClosed) {
    const std::wstring broken = L"<Event><EventData><Data Name='x'></EventData>";
    const std::wstring noData = L"<Event><System/></Event>";
    for (const std::wstring& xml : {broken, noData}) {
        Serve(kEvent, SystemProperties(17, 0, 21, 0), xml);
        EXPECT_CALL(api, EvtClose(kEvent));
        EXPECT_CALL(api, EvtClose(kContext));
        const Exception e = Caught([&] { WindowsEvent event(api, kEvent); });
        EXPECT_EQ(kProcessingError, e.GetErrorCode());
        EXPECT_EQ(L"Event XML", e.GetMessageArgument2());
        EXPECT_EQ(xml, e.GetMessageArgument3());
        ::testing::Mock::VerifyAndClearExpectations(&api);
    }
    Serve(kEvent, SystemProperties(17, 0, 21, 0), broken);
    const Exception e = Caught([&] { WindowsEvent event(api, kEvent); });
    EXPECT_EQ(106, e.GetLineNumber());
    EXPECT_EQ(
        L"parseResult = eventXmlDocument.load_buffer(eventXmlBuffer.data(), "
        L"eventXmlBuffer.size())",
        e.GetMessageArgument0());
    EXPECT_EQ(L"!parseResult", e.GetMessageArgument1());
    Serve(kEvent, SystemProperties(17, 0, 21, 0), noData);
    const Exception missing = Caught([&] { WindowsEvent event(api, kEvent); });
    EXPECT_EQ(L"eventDataNode = doc.child(Event).child(EventData)", missing.GetMessageArgument0());
    EXPECT_EQ(L"!eventDataNode", missing.GetMessageArgument1());
}

TEST_F(EventLogTest, MissingRenderContextIsAWindowsError) {
    EXPECT_CALL(api, EvtCreateRenderContext(0, nullptr, EvtRenderContextSystem))
        .WillOnce([this](auto...) {
            lastError = ERROR_NOT_ENOUGH_MEMORY;
            return nullptr;
        });
    EXPECT_CALL(api, EvtClose(kEvent));
    const Exception e = Caught([&] { WindowsEvent event(api, kEvent); });
    ExpectRaised(e, kWindowsError, kEventSource, 84);
    EXPECT_EQ(L"EvtCreateRenderContext", e.GetMessageArgument1());
}

TEST_F(EventLogTest, QueryAsksForNewestFirstAndOwnsItsHandle) {
    WindowsEventLog log(api);
    EXPECT_CALL(api,
                EvtQuery(nullptr, ::testing::StrEq(L"System"), ::testing::StrEq(L"<q/>"), 0x201u))
        .WillOnce(Return(kQuery));
    auto query = log.Query(L"System", L"<q/>");
    EXPECT_CALL(api, EvtClose(kQuery));
    query.reset();
    ::testing::Mock::VerifyAndClearExpectations(&api);

    EXPECT_CALL(api, EvtQuery(_, _, _, _)).WillOnce([this](auto...) {
        lastError = ERROR_EVT_CHANNEL_NOT_FOUND;
        return nullptr;
    });
    const Exception e = Caught([&] { log.Query(L"Nope", L"<q/>"); });
    ExpectRaised(e, kWindowsError, L"source\\shared\\SystemInfo/WindowsEventLog", 66);
    EXPECT_EQ(std::to_wstring(ERROR_EVT_CHANNEL_NOT_FOUND), e.GetMessageArgument0());
    EXPECT_EQ(L"EvtQuery", e.GetMessageArgument1());
}

TEST_F(EventLogTest, NextHoldsOneEventAndEndsWithNoMoreItems) {
    Serve(kEvent, SystemProperties(17, kFileTimeOf1970 + 10, 21, 0));
    Serve(kOtherEvent, SystemProperties(17, kFileTimeOf1970 + 20, 21, 0));
    WindowsEventQuery query(api, kQuery);
    auto deliver = [](EVT_HANDLE handle) {
        return [handle](EVT_HANDLE, DWORD wanted, EVT_HANDLE* events, DWORD timeout, DWORD flags,
                        PDWORD returned) {
            EXPECT_EQ(1u, wanted);
            EXPECT_EQ(INFINITE, timeout);
            EXPECT_EQ(0u, flags);
            events[0] = handle;
            *returned = 1;
            return TRUE;
        };
    };
    EXPECT_CALL(api, EvtNext(kQuery, _, _, _, _, _))
        .WillOnce(deliver(kEvent))
        .WillOnce(deliver(kOtherEvent))
        .WillOnce([this](auto...) {
            lastError = ERROR_NO_MORE_ITEMS;
            return FALSE;
        });
    EXPECT_CALL(api, EvtClose(kContext)).Times(::testing::AnyNumber());
    EXPECT_EQ(10, query.Next()->GetTimeCreated().time_since_epoch().count());
    EXPECT_CALL(api, EvtClose(kEvent));  // the previous event goes
    EXPECT_EQ(20, query.Next()->GetTimeCreated().time_since_epoch().count());
    EXPECT_CALL(api, EvtClose(kOtherEvent));  // and so does the last at the end
    EXPECT_EQ(nullptr, query.Next());
    ::testing::Mock::VerifyAndClearExpectations(&api);
}

TEST_F(EventLogTest, NextRefusesFailuresAndEmptyAnswers) {
    WindowsEventQuery query(api, kQuery);
    EXPECT_CALL(api, EvtNext(_, _, _, _, _, _)).WillOnce([this](auto...) {
        lastError = ERROR_TIMEOUT;
        return FALSE;
    });
    const Exception failed = Caught([&] { query.Next(); });
    ExpectRaised(failed, kWindowsError, kQuerySource, 19);
    EXPECT_EQ(L"EvtNext", failed.GetMessageArgument1());

    EXPECT_CALL(api, EvtNext(_, _, _, _, _, _))
        .WillOnce([](EVT_HANDLE, DWORD, EVT_HANDLE* events, DWORD, DWORD, PDWORD returned) {
            events[0] = kEvent;
            *returned = 0;
            return TRUE;
        });
    const Exception none = Caught([&] { query.Next(); });
    ExpectRaised(none, kProcessingError, kQuerySource, 28);
    EXPECT_EQ(L"handlesReturned == 0", none.GetMessageArgument1());
    EXPECT_EQ(L"handlesReturned", none.GetMessageArgument2());
    EXPECT_EQ(L"0", none.GetMessageArgument3());

    EXPECT_CALL(api, EvtNext(_, _, _, _, _, _))
        .WillOnce([](EVT_HANDLE, DWORD, EVT_HANDLE* events, DWORD, DWORD, PDWORD returned) {
            events[0] = nullptr;
            *returned = 1;
            return TRUE;
        });
    const Exception null = Caught([&] { query.Next(); });
    ExpectRaised(null, kProcessingError, kQuerySource, 37);
    EXPECT_EQ(L"windowsEvent == nullptr", null.GetMessageArgument1());
    EXPECT_EQ(L"windowsEvent", null.GetMessageArgument2());
    EXPECT_EQ(L"nullptr", null.GetMessageArgument3());
}

TEST(WindowsEventProcessingErrorTest, CatalogTextNamesTheFourParts) {
    const WindowsEventLog::WindowsEventProcessingError e(L"op", L"cond", L"name", L"value", L"file",
                                                         5);
    EXPECT_EQ(
        L"An error occurred processing Windows events. The operation 'op' had a failed "
        L"condition 'cond'. The value of 'name' was: value",
        orvik::pkgshared::FormatErrorMessage(e.GetErrorCode(), 0x0409, e.GetMessageArgument0(),
                                             e.GetMessageArgument1(), e.GetMessageArgument2(),
                                             e.GetMessageArgument3()));
    EXPECT_STREQ(L"file", e.GetSourceFile());
    EXPECT_EQ(5, e.GetLineNumber());
}

}  // namespace
}  // namespace OrvikPkg::SystemInfo
