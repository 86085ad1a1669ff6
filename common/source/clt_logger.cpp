#include "clt_logger.h"

namespace zel::clt {

CltLogger& CltLogger::GetInstance() {
    static CltLogger instance;
    return instance;
}

void CltLogger::InitLoger() {
    ara::log::InitLogging("CLT", "COMMAND_LINE_TOOL", ara::log::LogLevel::kDebug, ara::log::LogMode::kRemote, "");
    logger_ = &ara::log::CreateLogger("clt", "clt context", ara::log::LogLevel::kDebug);
}

ara::core::StringView GetFilename(const ara::core::StringView& path) {
    const auto slash = path.rfind('/');
    if (slash == ara::core::StringView::npos) {
        return path;
    }
    return path.substr(slash + 1);
}

}  // namespace zel::clt
