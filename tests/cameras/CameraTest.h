// The fixture of the tests that run on any camera, through the host's interface. Every test begins with
// cameras as they power up and a freshly loaded adapter. The environment variable MARAVEL_TEST_SDK confines
// the tests to "sdk" or "sdk-aravis".
#pragma once

#include "Bench.h"
#include "host/AdapterLibrary.h"
#include "support/HostCalls.h"
#include "support/TestPlatform.h"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace maravel::test {

// The benches that this run is to use, by name.
std::vector<std::string> BenchNames();
std::unique_ptr<Bench> MakeBench(const std::string& name);
// For INSTANTIATE_TEST_SUITE_P: names tests after their bench.
std::string NameOfBench(const testing::TestParamInfo<std::string>& info);

// A whole number from the environment, for runs that are longer than those of every day.
int NumberFromEnvironment(const char* name, int otherwise);

struct Picture
{
    ImageAttributes attributes{};
    std::vector<unsigned char> bytes;

    // One of three colour planes, or the whole of a monochrome picture.
    const unsigned char* Plane(int plane) const
    {
        return bytes.data() + static_cast<std::ptrdiff_t>(plane) * attributes.width * attributes.height;
    }
    bool IsVaried(int plane) const;
    // The grey levels run along a diagonal and are the same along the other one.
    bool IsRamp(int plane) const;
};

class CameraTest : public testing::TestWithParam<std::string>
{
protected:
    static constexpr std::chrono::seconds Patience{10};

    void SetUp() override;
    void TearDown() override { UnloadAdapter(); }

    void LoadAdapter();
    void UnloadAdapter();
    // Collects the channels anew. With the bench's cameras only: channels of others are left out.
    void Open();

    static void Expect(const host::Outcome& outcome) { EXPECT_TRUE(outcome) << outcome.text; }

    const host::Channel& Channel(std::size_t camera = 0) const { return channels_.at(camera); }

    static CommonParams Params(int acqContinuous);
    // Free run, or software triggers; the whole picture of 512 x 512.
    void Configure(bool freeRun) { Expect(Channel().SetupCommonParams(Params(freeRun ? 1 : 0))); }
    void Start(std::size_t camera = 0) { Expect(Channel(camera).StartAcquisition()); }
    void Stop(std::size_t camera = 0) { Expect(Channel(camera).StopAcquisition()); }

    // Waits until an image waits; false when none comes in time.
    bool WaitForImage(std::chrono::milliseconds patience = Patience, std::size_t camera = 0) const;
    // Waits for an image and fetches it.
    Picture Fetch(std::size_t camera = 0) const;

    std::string Read(const std::string& feature)
    {
        std::string value;
        Expect(Channel().ReadValue(feature, &value));
        return value;
    }
    void Write(const std::string& feature, const std::string& value)
    {
        Expect(Channel().WriteValue(feature, value));
    }

    std::unique_ptr<Bench> bench;
    PrivateMachine machine;

private:
    std::unique_ptr<host::AdapterLibrary> adapter_;
    std::vector<host::Channel> channels_;
};

} // namespace maravel::test
