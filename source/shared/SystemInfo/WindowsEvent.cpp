#define ORVIK_SOURCE_NAME L"source\\shared\\SystemInfo\\WindowsEvent"

#include "shared/SystemInfo/WindowsEvent.h"

#include <cstring>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemInfo/WindowsEventLog.h"
#include "shared/TextConversion.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::pkgshared::WindowsFunctionErrorException;
using ProcessingError = WindowsEventLog::WindowsEventProcessingError;

// The rendered XML as text, up to its terminator.
std::wstring XmlText(const std::vector<std::uint8_t>& buffer) {
    std::wstring text(buffer.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), buffer.data(), text.size() * sizeof(wchar_t));
    return text.substr(0, text.find(L'\0'));
}

bool IsOneOf(DWORD type, std::initializer_list<EVT_VARIANT_TYPE> types) {
    for (const EVT_VARIANT_TYPE accepted : types) {
        if (type == static_cast<DWORD>(accepted)) {
            return true;
        }
    }
    return false;
}

}  // namespace

void RenderEvent(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE context, EVT_HANDLE fragment,
                 DWORD flags, std::vector<std::uint8_t>& buffer) {
    DWORD used = 0;
    DWORD propertyCount = 0;
    if (api.EvtRender(context, fragment, flags, static_cast<DWORD>(buffer.size()), buffer.data(),
                      &used, &propertyCount)) {
        return;
    }
    DWORD error = api.GetErrorHandlingApi().GetLastError();
    if (error != ERROR_INSUFFICIENT_BUFFER) {
        ORVIK_THROW_AT(130, WindowsFunctionErrorException, static_cast<std::int32_t>(error),
                       "EvtRender");
    }
    buffer.resize(used);
    if (!api.EvtRender(context, fragment, flags, static_cast<DWORD>(buffer.size()), buffer.data(),
                       &used, &propertyCount)) {
        error = api.GetErrorHandlingApi().GetLastError();
        ORVIK_THROW_AT(138, WindowsFunctionErrorException, static_cast<std::int32_t>(error),
                       "EvtRender");
    }
}

WindowsEvent::WindowsEvent(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE event)
    : event_({&api, event}),
      renderContext_({&api, api.EvtCreateRenderContext(0, nullptr, EvtRenderContextSystem)}),
      api_(api) {
    if (!renderContext_) {
        const DWORD error = api_.GetErrorHandlingApi().GetLastError();
        ORVIK_THROW_AT(84, WindowsFunctionErrorException, static_cast<std::int32_t>(error),
                       "EvtCreateRenderContext");
    }
    RenderEvent(api_, renderContext_.get().handle, event_.get().handle, EvtRenderEventValues,
                systemPropertiesBuffer_);
    systemProperties_ = reinterpret_cast<const EVT_VARIANT*>(systemPropertiesBuffer_.data());

    std::vector<std::uint8_t> eventXmlBuffer;
    RenderEvent(api_, nullptr, event_.get().handle, EvtRenderEventXml, eventXmlBuffer);
    const pugi::xml_parse_result parseResult =
        eventXmlDocument_.load_buffer(eventXmlBuffer.data(), eventXmlBuffer.size());
    if (!parseResult) {
        ORVIK_THROW_AT(106, ProcessingError,
                       L"parseResult = eventXmlDocument.load_buffer(eventXmlBuffer.data(), "
                       L"eventXmlBuffer.size())",
                       L"!parseResult", L"Event XML", XmlText(eventXmlBuffer));
    }
    eventDataNode_ = eventXmlDocument_.child("Event").child("EventData");
    if (!eventDataNode_) {
        ORVIK_THROW(ProcessingError, L"eventDataNode = doc.child(Event).child(EventData)",
                    L"!eventDataNode", L"Event XML", XmlText(eventXmlBuffer));
    }
}

EVT_VARIANT WindowsEvent::Property(EVT_SYSTEM_PROPERTY_ID id) const {
    const size_t end = (static_cast<size_t>(id) + 1) * sizeof(EVT_VARIANT);
    if (systemProperties_ == nullptr || systemPropertiesBuffer_.size() < end) {
        EVT_VARIANT none{};
        none.Type = EvtVarTypeNull;
        return none;
    }
    return systemProperties_[id];
}

SystemTime WindowsEvent::GetTimeCreated() const {
    const EVT_VARIANT created = Property(EvtSystemTimeCreated);
    if (!IsOneOf(created.Type,
                 {EvtVarTypeInt64, EvtVarTypeUInt64, EvtVarTypeFileTime, EvtVarTypeHexInt64})) {
        ORVIK_THROW_AT(21, ProcessingError, L"GetTimeCreated()",
                       L"systemProperties[EvtSystemTimeCreated].Type != EvtVarTypeFileTime",
                       L"systemProperties[EvtSystemTimeCreated].Type",
                       std::to_wstring(created.Type));
    }
    return SystemTimeFromFileTime(created.FileTimeVal);
}

bool WindowsEvent::HasKeyword(std::int64_t keyword) const {
    const EVT_VARIANT keywords = Property(EvtSystemKeywords);
    if (!IsOneOf(keywords.Type, {EvtVarTypeInt64, EvtVarTypeUInt64, EvtVarTypeHexInt64})) {
        ORVIK_THROW_AT(39, ProcessingError, L"HasKeyword(int64_t keyword)",
                       L"systemProperties[EvtSystemKeywords].Type != EvtVarTypeHexInt64",
                       L"systemProperties[EvtSystemKeywords].Type", std::to_wstring(keywords.Type));
    }
    return (keywords.UInt64Val & static_cast<std::uint64_t>(keyword)) != 0;
}

std::wstring WindowsEvent::GetEventDataValue(const std::wstring& name, bool* found) const {
    const std::string wanted = orvik::pkgshared::WideToUtf8(name);
    for (const pugi::xml_node child : eventDataNode_.children()) {
        const pugi::xml_attribute attribute = child.attribute("Name");
        if (attribute && wanted == attribute.value()) {
            if (found != nullptr) {
                *found = true;
            }
            return orvik::pkgshared::Utf8ToWide(child.text().get());
        }
    }
    if (found != nullptr) {
        *found = false;
    }
    return std::wstring();
}

}  // namespace OrvikPkg::SystemInfo
