// chronvale-server-log-off: the headless server with its request log switched off once it has
// started. For the benchmarks only, so that the price of the log's open, append and close per
// record shows by comparison; the programs that ship always log.
#include "app/headless_front_end.h"
#include "app/run_server.h"
#include "core/server_controller.h"
#include "core/serving_context.h"

#include <clocale>

int main(int argc, char* argv[]) {
    std::setlocale(LC_ALL, "");
    const cvl::CommandLineResult parsed = cvl::parseCommandLine(cvl::argumentList(argc, argv));
    if (const std::optional<int> status = cvl::handleInformationalOptions(parsed)) {
        return *status;
    }
    cvl::HeadlessFrontEnd frontEnd;
    return cvl::runServer(*parsed.line, frontEnd, [](cvl::ServerController& server) {
        server.serving().setLogEnabled(false);
    });
}
