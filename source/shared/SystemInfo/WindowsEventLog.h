#pragma once
#include <memory>
#include <string>

#include "shared/Exception.h"
#include "shared/SystemInfo/WindowsEventQuery.h"
#include "shared/WindowsApi/IWindowsEventLogApi.h"

namespace OrvikPkg::SystemInfo {

// Opens queries on the event log.
class IWindowsEventLog {
public:
    virtual ~IWindowsEventLog() = default;
    // The events of `channel` that match the XML `query`, newest first.
    // Throws WindowsFunctionErrorException naming "EvtQuery".
    virtual std::unique_ptr<IWindowsEventQuery> Query(const std::wstring& channel,
                                                      const std::wstring& query) = 0;
};

class WindowsEventLog : public IWindowsEventLog {
public:
    // An event that does not look as the system promises. Code -125246:
    // %1% the operation, %2% the failed condition, %3% the inspected value's
    // name, %4% that value as text.
    class WindowsEventProcessingError : public orvik::pkgshared::Exception {
    public:
        static constexpr std::int32_t kCode = -125246;
        WindowsEventProcessingError(std::wstring operation, std::wstring condition,
                                    std::wstring valueName, std::wstring value,
                                    const wchar_t* sourceFile, std::int32_t line);
        ~WindowsEventProcessingError() override;
    };

    // `api` is not owned and must outlive this object and its queries.
    explicit WindowsEventLog(WindowsApi::IWindowsEventLogApi& api) : api_(api) {}
    std::unique_ptr<IWindowsEventQuery> Query(const std::wstring& channel,
                                              const std::wstring& query) override;

private:
    WindowsApi::IWindowsEventLogApi& api_;
};

}  // namespace OrvikPkg::SystemInfo
