#pragma once
#include <pugixml.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "shared/SystemInfo/EventLogHandle.h"
#include "shared/SystemInfo/SystemTime.h"
#include "shared/WindowsApi/IWindowsEventLogApi.h"

namespace OrvikPkg::SystemInfo {

// One event of a query: its system properties and its event XML.
class IWindowsEvent {
public:
    virtual ~IWindowsEvent() = default;
    // Throws WindowsEventProcessingError when the creation time is not a
    // 64-bit value.
    virtual SystemTime GetTimeCreated() const = 0;
    // True when the event's keyword mask shares a set bit with `keyword`.
    // Throws WindowsEventProcessingError when the mask is not a 64-bit value.
    virtual bool HasKeyword(std::int64_t keyword) const = 0;
    // The text of the first EventData child whose "Name" is exactly `name`;
    // "" when there is none. `found`, when given, tells which.
    virtual std::wstring GetEventDataValue(const std::wstring& name,
                                           bool* found = nullptr) const = 0;
};

class WindowsEvent : public IWindowsEvent {
public:
    // Takes ownership of `event` (closed even when construction throws) and
    // renders it twice. Throws WindowsFunctionErrorException for a failed
    // render call and WindowsEventProcessingError for XML that cannot be
    // parsed or has no Event/EventData element.
    WindowsEvent(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE event);
    SystemTime GetTimeCreated() const override;
    bool HasKeyword(std::int64_t keyword) const override;
    std::wstring GetEventDataValue(const std::wstring& name, bool* found = nullptr) const override;

private:
    // The system property `id`; a null variant when the rendered buffer
    // does not reach it.
    EVT_VARIANT Property(EVT_SYSTEM_PROPERTY_ID id) const;

    EventLogHandle event_;
    EventLogHandle renderContext_;
    std::vector<std::uint8_t> systemPropertiesBuffer_;
    const EVT_VARIANT* systemProperties_ = nullptr;
    pugi::xml_document eventXmlDocument_;
    pugi::xml_node eventDataNode_;
    WindowsApi::IWindowsEventLogApi& api_;
};

// Renders `fragment` into `buffer` with the given context and flags. A call
// that reports ERROR_INSUFFICIENT_BUFFER is repeated once with the buffer
// resized to exactly the size the system asked for. Throws
// WindowsFunctionErrorException naming "EvtRender".
void RenderEvent(WindowsApi::IWindowsEventLogApi& api, EVT_HANDLE context, EVT_HANDLE fragment,
                 DWORD flags, std::vector<std::uint8_t>& buffer);

}  // namespace OrvikPkg::SystemInfo
