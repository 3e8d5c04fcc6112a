// The page's server. All of it runs on one thread beside the cameras' own; only pictures are encoded on
// another.
#pragma once

#include "Access.h"
#include "Api.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace maravel::view {

class Server
{
public:
    // Throws std::runtime_error when it cannot listen there. Port 0: any free one.
    Server(const std::string& address, unsigned short port);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    unsigned short Port() const;

    // Any thread.
    void FrameArrived();
    void LogGrew();

    // Serves until `ended` tells so, which is asked ten times a second.
    void Run(Api& api, const Access& access, const std::function<bool()>& ended);

    struct Core; // what its connections share

private:
    const std::unique_ptr<Core> core_;
};

// What the server would answer to these bytes of a connection; status 0: it would wait for more.
Reply AnswerBytes(std::string_view bytes, Api& api, const Access& access);

} // namespace maravel::view
