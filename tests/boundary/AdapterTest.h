// The fixture of everything that is tested through the host's interface: the built adapter above the
// simulated SDK.
#pragma once

#include "support/TestHost.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace maravel::test {

// Three small cameras that send only what a test emits. 0: GigE, monochrome, of the maker's transport layer;
// 1: USB3, colour; 2: an old one without TriggerSource.
extern const std::string kTestCameras;

// Every test begins with a fresh load of the adapter and ends with its unloading, after which nothing may be
// left: no camera open, no frame announced, no call that the SDK found wrong, no error in the log that the
// test did not expect.
class AdapterTest : public testing::Test, protected TestHost
{
protected:
    explicit AdapterTest(std::string adapterFile = AdapterFile());
    ~AdapterTest() override;

    // Collects all channels, all of which must open.
    void Open();
    using TestHost::Configure;
    std::int32_t Configure(std::int64_t channel, int acqContinuous = 1, int acqTriggered = 0)
    {
        return Configure(channel, Params(acqContinuous, acqTriggered));
    }
    // The image status.
    std::uint32_t Status(std::int64_t channel);

    // Opens all channels and brings one of them to stream in free run.
    void Stream(std::int64_t channel);

    // Has the camera emit `count` ordinary frames.
    void DeliverFrames(std::uint32_t camera, int count = 1);
    void DeliverFrame(std::uint32_t camera, const SimFrameRequest& request);

    // Fetches the oldest image into `size` bytes of guarded memory.
    std::vector<unsigned char> Fetch(std::int64_t channel, std::size_t size, std::int32_t expectedResult = 0,
                                     std::uint32_t expectedStatus = ImageStatusReady);

    int CountInLog(const std::string& message);
    // Whether some message contains the text.
    bool IsInLog(const std::string& text);

    // From here on errors in the log are the test's own doing.
    void ExpectErrors() { expectErrors_ = true; }
    // The test provokes what the SDK calls a violation.
    void ExpectViolations() { expectViolations_ = true; }

private:
    bool expectErrors_ = false;
    bool expectViolations_ = false;
};

} // namespace maravel::test
