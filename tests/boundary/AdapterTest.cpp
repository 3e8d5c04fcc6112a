#include "boundary/AdapterTest.h"

#include "support/Cameras.h"

#include <algorithm>

namespace maravel::test {

const std::string kTestCameras =
    CameraText("T0", "Mono", "GigE", 64, 48, kMonoFormats,
               std::string(kManualSource) +
                   "vendor = \"Tests\"\nserial = \"S-0\"\ntransport_vendor = \"The Halvane Layer\"\n") +
    CameraText("T1", "Color", "USB3", 32, 16, R"("RGB8", "BGR8", "BayerRG8", "YUV422_8_UYVY", "Mono8")",
               std::string(kManualSource) +
                   "vendor = \"Tests\"\nserial = \"S-1\"\ntransport_vendor = \"Others\"\n") +
    CameraText("T2", "Old", "GigE", 64, 48, R"("Mono8")",
               "frame_rate = 100.0\nexposure_us = 2000.0\nsource = \"manual\"\ngeneration = \"legacy\"\n"
               "vendor = \"Tests\"\nserial = \"S-2\"\ntransport_vendor = \"Others\"\n");

AdapterTest::AdapterTest(std::string adapterFile) : TestHost(kTestCameras, std::move(adapterFile))
{
    LoadAdapter();
}

AdapterTest::~AdapterTest()
{
    UnloadAdapter();
    EXPECT_EQ(LeftOver(), "");
    if (!expectViolations_) {
        EXPECT_EQ(sdk.Violations(), "");
    }
    logStart_ = 0;
    for (const std::string& line : expectErrors_ ? std::vector<std::string>() : Log()) {
        EXPECT_EQ(line.find("ERROR"), std::string::npos) << line;
        EXPECT_EQ(line.find("FAILED"), std::string::npos) << line;
    }
}

void AdapterTest::Open()
{
    TestHost::Open();
    for (std::size_t i = 0; i < ChannelCount(); ++i) {
        ASSERT_EQ(Channel(i).openResult, 0) << LogText();
    }
}

std::uint32_t AdapterTest::Status(std::int64_t channel)
{
    EXPECT_EQ(Query(channel), 0);
    return ImageStatus();
}

void AdapterTest::Stream(std::int64_t channel)
{
    Open();
    ASSERT_EQ(Configure(channel), 0) << TextNow();
    ASSERT_EQ(Start(channel), 0) << TextNow();
}

void AdapterTest::DeliverFrames(std::uint32_t camera, int count)
{
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(sdk.SimEmitFrame(camera, nullptr), 0);
    }
}

void AdapterTest::DeliverFrame(std::uint32_t camera, const SimFrameRequest& request)
{
    ASSERT_EQ(sdk.SimEmitFrame(camera, &request), 0);
}

std::vector<unsigned char> AdapterTest::Fetch(std::int64_t channel, std::size_t size,
                                              std::int32_t expectedResult, std::uint32_t expectedStatus)
{
    GuardedBuffer image(size);
    EXPECT_EQ(TestHost::Fetch(channel, image.Data()), expectedResult) << TextNow();
    EXPECT_EQ(ImageStatus(), expectedStatus);
    return image.AsBytes();
}

int AdapterTest::CountInLog(const std::string& message)
{
    const std::vector<std::string> log = Log();
    return static_cast<int>(std::count(log.begin(), log.end(), message));
}

bool AdapterTest::IsInLog(const std::string& text)
{
    return LogText(logStart_).find(text) != std::string::npos;
}

} // namespace maravel::test
