#include "shared/SharedSession.h"

#include "shared/ExceptionReport.h"

namespace orvik::pkgshared {

SharedSession::SharedSession(ILogger& logger)
    : localConfiguration_(logger), pathGuide_(localConfiguration_), logger_(logger) {
    localConfiguration_.Load(pathGuide_);
}

void ReportException(const std::wstring& where, const Exception& exception,
                     const std::wstring& extraText, ISharedSession& session) {
    ReportException(where, exception, extraText, session.GetPathGuide().GetLogsDirectory());
}

}  // namespace orvik::pkgshared
