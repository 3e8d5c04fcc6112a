// Any bytes as a connection's: parsed with the server's limits, judged, and answered as for a camera. What
// the fuzzer cannot guess, it is given: "TOKEN" stands for the server's own.
#include "view/Server.h"
#include "view/StubCamera.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace maravel::view;
    static Access access({"127.0.0.1", 8080, false});
    static const LogWatch log([] {});
    static std::vector<std::unique_ptr<Camera>> cameras;
    if (cameras.empty()) {
        cameras.push_back(std::make_unique<Camera>(maravel::test::StubChannel(), "stub", [] {}));
    }
    static Api api(cameras, log, access);
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (const std::size_t at = bytes.find("TOKEN"); at != std::string::npos) {
        bytes.replace(at, 5, access.Token());
    }
    AnswerBytes(bytes, api, access);
    return 0;
}
