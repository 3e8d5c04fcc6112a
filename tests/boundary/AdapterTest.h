// The fixture of everything that is tested through the host's interface: the built adapter above the
// simulated SDK.
#pragma once

#include "maravel/VideoChannel.h"
#include "support/Guarded.h"
#include "support/SdkControl.h"
#include "support/TestPlatform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace maravel::test {

// Three small cameras that send only what a test emits. 0: GigE, monochrome, of the maker's transport layer;
// 1: USB3, colour; 2: an old one without TriggerSource.
extern const std::string kTestCameras;

// Every test begins with a fresh load of the adapter and ends with its unloading, after which nothing may be
// left: no camera open, no frame announced, no call that the SDK found wrong, no error in the log that the
// test did not expect.
class AdapterTest : public testing::Test
{
protected:
    explicit AdapterTest(std::string adapterFile = AdapterFile());
    ~AdapterTest() override;

    void LoadAdapter();
    void UnloadAdapter();

    // A further function that the loaded adapter exports; for adapters that are built for a test.
    template <class Function>
    void Resolve(const char* name, Function& function)
    {
        const FARPROC address = GetProcAddress(adapter_, name);
        ASSERT_NE(address, nullptr) << name;
        std::memcpy(&function, &address, sizeof function);
    }

    // The exported function, with text() as error text.
    std::int32_t GetVideoChannel(std::int32_t index, VideoChannelDescriptor* descriptor);

    // The same with a text buffer of the caller's, for threads.
    std::int32_t GetVideoChannelOf(char* errorText, std::int32_t index,
                                   VideoChannelDescriptor* descriptor) const
    {
        return getVideoChannel_(errorText, index, descriptor);
    }

    // Collects all channels, as a host does.
    void Open();

    VideoChannelDescriptor& Channel(std::size_t index) { return *channels_.at(index); }
    std::size_t ChannelCount() const { return channels_.size(); }

    // What SetupCommonParams takes for a trigger mode, with the whole sensor and 10 ms of exposure.
    static CommonParams Params(int acqContinuous, int acqTriggered);
    std::int32_t Configure(std::int64_t channel, int acqContinuous = 1, int acqTriggered = 0);
    std::int32_t Start(std::int64_t channel);
    std::int32_t Stop(std::int64_t channel);
    std::uint32_t Status(std::int64_t channel);
    std::int32_t Release(std::int64_t channel);

    // Opens all channels and brings one of them to stream in free run.
    void Stream(std::int64_t channel);

    // Ends everything that the test told the SDK to do; the test's cameras stay.
    void ResetSdk();

    // Has the camera emit `count` ordinary frames.
    void DeliverFrames(std::uint32_t camera, int count = 1);
    void DeliverFrame(std::uint32_t camera, const SimFrameRequest& request);

    // Fetches the oldest image into `size` bytes of guarded memory.
    std::vector<unsigned char> Fetch(std::int64_t channel, std::size_t size, std::int32_t expectedResult = 0,
                                     std::uint32_t expectedStatus = ImageStatusReady);

    // The host's error text; cleared by ClearText.
    char* text() { return text_.Text(); }
    std::string TextNow() const { return text_.AsText(); }
    void ClearText();

    // Messages of the log since the last ClearLog (or the start), without prefixes and line ends.
    std::vector<std::string> Log();
    std::string LogText();
    void ClearLog();
    int CountInLog(const std::string& message);
    // Whether some message contains the text.
    bool IsInLog(const std::string& text);

    // From here on errors in the log are the test's own doing.
    void ExpectErrors() { expectErrors_ = true; }
    // The test provokes what the SDK calls a violation.
    void ExpectViolations() { expectViolations_ = true; }

    static std::string SdkFolder();
    static std::string AdapterFile();

    PrivateMachine machine;
    SdkControl sdk{SdkFolder()};

private:
    std::string adapterFile_;
    HMODULE adapter_ = nullptr;
    GetVideoChannelFn getVideoChannel_ = nullptr;
    std::deque<Guarded<VideoChannelDescriptor>> channels_;
    GuardedBuffer text_{MARAVEL_TEXT_SIZE, 0};
    std::size_t logStart_ = 0;
    bool expectErrors_ = false;
    bool expectViolations_ = false;
};

// A record of all calls between two points, as the SDK saw them, without the results of those that succeeded.
std::vector<std::string> WithoutSuccess(std::vector<std::string> calls);

} // namespace maravel::test
