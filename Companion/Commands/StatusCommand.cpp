#include <QCoroTask>

#include "Companion/Commands/Commands.h"
#include "Companion/Commands/CompanionJson.h"
#include "Companion/Commands/StatusReport.h"
#include "Companion/Output/Progress.h"
#include "Companion/PlatformAdapters.h"

namespace pellora {

CommandResult StatusCommand::run(const CompanionContext& context) const {
  StatusReport report;
  {
    const Progress progress("Looking at the Messages store and the model server");
    report = StatusReport::gather(context);
    report.presence = platform_adapters::helperPresence();
    report.trayObstacle = platform_adapters::trayObstacle();
    const auto model = platform_adapters::languageModel();
    report.model = QCoro::waitFor(model->report());
  }
  return {json ? companion_json::text(report) : report.text(context), {}};
}

}  // namespace pellora
