#include "View.h"

#include "Access.h"
#include "Api.h"
#include "Camera.h"
#include "LogWatch.h"
#include "Server.h"
#include "camhost/Failure.h"
#include "camhost/System.h"

#include <cstdio>
#include <memory>

namespace maravel::view {
namespace {

using camhost::Failure;

std::string AddressOf(const Access& access)
{
    std::string host = access.How().address;
    if (host == "0.0.0.0" || host == "::") {
        host = "127.0.0.1";
    }
    else if (host.find(':') != std::string::npos) {
        host = "[" + host + "]";
    }
    return "http://" + host + ":" + std::to_string(access.How().port) + "/#token=" + access.Token();
}

void Announce(const Access& access, std::size_t cameras, bool noBrowser)
{
    const std::string address = AddressOf(access);
    if (!IsLoopback(access.How().address)) {
        std::fprintf(stderr,
                     "camhost: WARNING: EVERYBODY ON THE NETWORK WHO KNOWS THE ADDRESS BELOW CAN SEE %s "
                     "THE CAMERAS, AND NOTHING IS ENCRYPTED.\n",
                     access.How().readOnly ? "" : "AND SET");
    }
    std::printf("%s\n", address.c_str());
    std::printf("showing %zu camera%s%s; Ctrl-C ends it\n", cameras, cameras == 1 ? "" : "s",
                access.How().readOnly ? ", read only" : "");
    std::fflush(stdout);
    if (!noBrowser) {
        OpenBrowser(address);
    }
}

std::unique_ptr<Server> Listen(const camhost::Options& options)
try {
    return std::make_unique<Server>(options.listen, static_cast<unsigned short>(options.port));
}
catch (const std::runtime_error& failure) {
    throw Failure(camhost::ExitRefused, failure.what());
}

} // namespace

void ShowLive(const std::vector<host::Channel>& all, const std::vector<host::Channel>& channels,
              const camhost::Options& options)
{
    camhost::CatchEndRequests();
    const auto server = Listen(options);
    Access access({options.listen, server->Port(), options.readOnly});
    const LogWatch log([&server] { server->LogGrew(); });
    // The last to be made and the first to go: they call the server, and hold what it gave them to answer.
    std::vector<std::unique_ptr<Camera>> cameras;
    for (const host::Channel& channel : channels) {
        cameras.push_back(std::make_unique<Camera>(channel, camhost::CameraName(channel, all),
                                                   [&server] { server->FrameArrived(); }));
        if (channel.Opened()) {
            cameras.back()->Post([camera = cameras.back().get()] { camera->Start({}); });
        }
    }
    Api api(cameras, log, access);
    Announce(access, cameras.size(), options.noBrowser);
    server->Run(api, access, camhost::EndRequested);
}

} // namespace maravel::view
