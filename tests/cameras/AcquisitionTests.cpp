// Images, from set-up to a camera that goes away.
#include "CameraTest.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace maravel::test {
namespace {

class CameraAcquisition : public CameraTest
{
protected:
    // Stops, switches the pixel format and fetches a picture.
    Picture FetchAs(const char* format)
    {
        Configure(true);
        Write("PixelFormat", format);
        Start();
        Picture picture = Fetch();
        Stop();
        return picture;
    }
};

// The share of a picture's pixels whose colour is close to one in the first line of the other.
double ShareOfColours(const Picture& picture, const Picture& palette)
{
    constexpr int tolerance = 24;
    int known = 0;
    int looked = 0;
    for (int y = 4; y < picture.attributes.height - 4; y += 16) {
        for (int x = 4; x < picture.attributes.width - 4; x += 3) {
            const auto isClose = [&](int i, int plane) {
                const int seen = picture.Plane(plane)[y * picture.attributes.width + x];
                return std::abs(seen - palette.Plane(plane)[i]) <= tolerance;
            };
            bool found = false;
            for (int i = 0; i < palette.attributes.width && !found; ++i) {
                found = isClose(i, 0) && isClose(i, 1) && isClose(i, 2);
            }
            known += found ? 1 : 0;
            ++looked;
        }
    }
    return static_cast<double>(known) / looked;
}

INSTANTIATE_TEST_SUITE_P(On, CameraAcquisition, testing::ValuesIn(BenchNames()), NameOfBench);

TEST_P(CameraAcquisition, RegionAndExposureReachTheCamera)
{
    CommonParams params = Params(1);
    params.exposure = 0.002;
    params.roix = 64;
    params.roiy = 32;
    params.roiwidth = 256;
    params.roiheight = 128;
    Expect(Channel().SetupCommonParams(params));
    Start();
    const Picture picture = Fetch();
    EXPECT_EQ(picture.attributes.width, 256);
    EXPECT_EQ(picture.attributes.height, 128);
    EXPECT_EQ(picture.attributes.offsetX, 64);
    EXPECT_EQ(picture.attributes.offsetY, 32);
    EXPECT_EQ(picture.attributes.pixelType, PixelTypeMono8);
    Stop();
    const bool isOld = std::ranges::count(Channel().FeatureNames(), "ExposureTime") == 0;
    EXPECT_EQ(Read(isOld ? "ExposureTimeAbs" : "ExposureTime"), "2000.000000");
}

TEST_P(CameraAcquisition, SoftwareTriggerSendsOneImageEach)
{
    Configure(false);
    for (int i = 0; i < 4; ++i) {
        Start();
        // A frame that arrives incomplete is no image; the host asks again.
        for (int again = 0; again < 3 && !WaitForImage(std::chrono::seconds(1)); ++again) {
            Start();
        }
        Fetch();
        EXPECT_FALSE(WaitForImage(std::chrono::milliseconds(200))) << "an image came that nobody asked for";
    }
    Stop();
}

// Colour comes through the image-transform library of the SDK folder.
TEST_P(CameraAcquisition, ColourArrivesAsThreePlanes)
{
    const Picture colour = FetchAs("RGB8");
    ASSERT_EQ(colour.attributes.pixelType, PixelTypeRgbPlanes);
    const Picture grey = FetchAs("Mono8");
    EXPECT_NE(colour.bytes, grey.bytes);
    EXPECT_TRUE(bench->SendsRamp() ? grey.IsRamp(0) : grey.IsVaried(0));
    for (int plane = 0; plane < 3; ++plane) {
        EXPECT_TRUE(bench->SendsRamp() ? colour.IsRamp(plane) : colour.IsVaried(plane)) << "plane " << plane;
    }

    const std::vector<std::string> formats = Channel().EnumEntries("PixelFormat");
    for (const char* format : {"BayerRG8", "BayerGR8", "BayerGB8", "BayerBG8"}) {
        if (std::ranges::count(formats, format) == 0) {
            continue;
        }
        const Picture picture = FetchAs(format);
        ASSERT_EQ(picture.attributes.pixelType, PixelTypeRgbPlanes) << format;
        for (int plane = 0; plane < 3; ++plane) {
            EXPECT_TRUE(picture.IsVaried(plane)) << format << ", plane " << plane;
        }
        // The same rainbow, seen through the colour filter: nearly every pixel has one of its colours.
        if (bench->SendsRamp()) {
            EXPECT_GT(ShareOfColours(picture, colour), 0.95) << format;
        }
    }
}

TEST_P(CameraAcquisition, StartsAndStopsAHundredTimes)
{
    Configure(true);
    std::uint32_t handles = 0;
    for (int i = 0; i < 100; ++i) {
        Start();
        // A stop must be good at any moment: before, while and after an image comes.
        if (i % 10 == 0) {
            Fetch();
        }
        else {
            std::this_thread::sleep_for(std::chrono::milliseconds(i % 10));
        }
        Stop();
        if (i == 10) {
            handles = HandlesInUse();
        }
    }
    EXPECT_LE(HandlesInUse(), handles + 1);
}

TEST_P(CameraAcquisition, LostCameraFailsAndComesBack)
{
    Configure(true);
    Start();
    Fetch();
    bench->Unplug(0);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::string value;
    while (Channel().ReadValue("Width", &value) && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(Channel().ReadValue("Width", &value)) << "the camera still answers";
    int rest = 0; // what came before can still be fetched
    for (; rest < 20 && WaitForImage(std::chrono::milliseconds(500)); ++rest) {
        Fetch();
    }
    EXPECT_LT(rest, 20);
    EXPECT_FALSE(Channel().StopAcquisition());
    Expect(Channel().Release());

    bench->PlugIn(0);
    Open();
    ASSERT_TRUE(Channel().Opened());
    Configure(true);
    Start();
    Fetch();
    Stop();
}

TEST_P(CameraAcquisition, TwoCamerasSendAtOnce)
{
    if (bench->CameraCount() < 2) {
        GTEST_SKIP() << "only one camera can run here";
    }
    CommonParams params = Params(1);
    params.roiwidth = 256;
    Expect(Channel(0).SetupCommonParams(params));
    params.roiwidth = 384;
    Expect(Channel(1).SetupCommonParams(params));
    Start(0);
    Start(1);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Fetch(0).attributes.width, 256);
        EXPECT_EQ(Fetch(1).attributes.width, 384);
    }
    Stop(0);
    Fetch(1); // goes on
    Stop(1);
}

} // namespace
} // namespace maravel::test
