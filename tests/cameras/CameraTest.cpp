#include "CameraTest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace maravel::test {

std::vector<std::string> BenchNames()
{
    const char* only = std::getenv("MARAVEL_TEST_SDK");
    std::vector<std::string> names;
    if (only == nullptr || std::string(only) == "sdk") {
        names.emplace_back("Simulated");
    }
    const bool built = std::filesystem::exists(SdkFolder("sdk-aravis"));
    if (only == nullptr ? built : std::string(only) == "sdk-aravis") {
        names.emplace_back("Aravis");
    }
    return names;
}

std::unique_ptr<Bench> MakeBench(const std::string& name)
{
    return name == "Aravis" ? MakeAravisBench() : MakeSimulatedBench();
}

std::string NameOfBench(const testing::TestParamInfo<std::string>& info)
{
    return info.param;
}

int NumberFromEnvironment(const char* name, int otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::atoi(text);
}

bool Picture::IsVaried(int plane) const
{
    const unsigned char* pixels = Plane(plane);
    const auto count = static_cast<std::ptrdiff_t>(attributes.width) * attributes.height;
    const auto [low, high] = std::minmax_element(pixels, pixels + count);
    return *high - *low > 100;
}

bool Picture::IsRamp(int plane) const
{
    const unsigned char* pixels = Plane(plane);
    const std::ptrdiff_t width = attributes.width;
    for (std::ptrdiff_t y = 1; y < attributes.height; ++y) {
        if (!std::equal(pixels + y * width, pixels + (y + 1) * width - 1, pixels + (y - 1) * width + 1)) {
            return false;
        }
    }
    return IsVaried(plane);
}

void CameraTest::SetUp()
{
    bench = MakeBench(GetParam());
    if (bench->CameraCount() == 0) {
        GTEST_SKIP() << bench->WhyNone();
    }
    SetEnvironment("ZORVIK_HOME", bench->SdkFolder());
    LoadAdapter();
    Open();
}

void CameraTest::LoadAdapter()
{
    std::string reason;
    adapter_ = host::AdapterLibrary::Load(AdapterFile(), &reason);
    ASSERT_NE(adapter_, nullptr) << reason;
}

void CameraTest::UnloadAdapter()
{
    channels_.clear();
    adapter_.reset();
}

void CameraTest::Open()
{
    channels_.clear();
    std::vector<host::Channel> all;
    Expect(adapter_->CollectChannels(&all));
    for (std::size_t i = 0; i < bench->CameraCount(); ++i) {
        std::ranges::copy_if(all, std::back_inserter(channels_), [&](const host::Channel& channel) {
            return channel.SerialNumber() == bench->Serial(i);
        });
    }
}

CommonParams CameraTest::Params(int acqContinuous)
{
    CommonParams params = test::Params(acqContinuous);
    params.roiwidth = params.roiheight = 512;
    return params;
}

bool CameraTest::WaitForImage(std::chrono::milliseconds patience, std::size_t camera) const
{
    const auto until = std::chrono::steady_clock::now() + patience;
    while (Channel(camera).QueryImageStatus() != ImageStatusReady) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

Picture CameraTest::Fetch(std::size_t camera) const
{
    Picture picture;
    if (!WaitForImage(Patience, camera)) {
        ADD_FAILURE() << "no image came";
        return picture;
    }
    std::uint32_t status = ImageStatusPending;
    picture.attributes.structSize = sizeof(ImageAttributes);
    EXPECT_TRUE(Channel(camera).GetImageAttributes(&picture.attributes, &status));
    EXPECT_EQ(status, static_cast<std::uint32_t>(ImageStatusReady));
    const auto pixels = static_cast<std::size_t>(picture.attributes.width) *
                        static_cast<std::size_t>(picture.attributes.height);
    picture.bytes.resize(picture.attributes.pixelType == PixelTypeRgbPlanes ? pixels * 3 : pixels);
    Expect(Channel(camera).GetImage(picture.bytes.data(), &status));
    return picture;
}

} // namespace maravel::test
