#include "boundary/AdapterTest.h"

#include "support/Cameras.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

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

AdapterTest::AdapterTest(std::string adapterFile) : adapterFile_(std::move(adapterFile))
{
    SetEnvironment("ZORVIK_HOME", SdkFolder());
    ResetSdk();
    LoadAdapter();
}

AdapterTest::~AdapterTest()
{
    UnloadAdapter();
    const SimStateInfo state = sdk.State();
    EXPECT_EQ(state.started, 0u) << "the SDK was not shut down";
    EXPECT_EQ(state.openCameras, 0u);
    EXPECT_EQ(state.announcedFrames, 0u);
    EXPECT_EQ(state.workerThreads, 0u);
    if (!expectViolations_) {
        EXPECT_EQ(sdk.Violations(), "");
    }
    sdk.SimReset();
    sdk.SimSetDescription(nullptr);
    sdk.SimTransformReset();
    if (!expectErrors_) {
        ClearLog();
        logStart_ = 0;
        for (const std::string& line : Log()) {
            EXPECT_EQ(line.find("ERROR"), std::string::npos) << line;
            EXPECT_EQ(line.find("FAILED"), std::string::npos) << line;
        }
    }
}

void AdapterTest::LoadAdapter()
{
    adapter_ = LoadLibraryA(adapterFile_.c_str());
    ASSERT_NE(adapter_, nullptr) << adapterFile_ << " does not load";
    const FARPROC entry = GetProcAddress(adapter_, "GetVideoChannel");
    ASSERT_NE(entry, nullptr);
    std::memcpy(&getVideoChannel_, &entry, sizeof entry);
}

void AdapterTest::UnloadAdapter()
{
    if (adapter_ != nullptr) {
        EXPECT_NE(FreeLibrary(adapter_), 0);
        adapter_ = nullptr;
        channels_.clear();
    }
}

std::int32_t AdapterTest::GetVideoChannel(std::int32_t index, VideoChannelDescriptor* descriptor)
{
    if (index == 0) {
        logStart_ = 0; // a start empties the log
    }
    return getVideoChannel_(text(), index, descriptor);
}

void AdapterTest::Open()
{
    channels_.clear();
    for (std::int32_t index = 0;; ++index) {
        Guarded<VideoChannelDescriptor>& descriptor = channels_.emplace_back();
        descriptor->structSize = sizeof(VideoChannelDescriptor);
        if (GetVideoChannel(index, descriptor.Get()) != MARAVEL_SUCCESS) {
            channels_.pop_back();
            return;
        }
        ASSERT_EQ(descriptor->openResult, 0) << TextNow();
    }
}

CommonParams AdapterTest::Params(int acqContinuous, int acqTriggered)
{
    CommonParams params = {};
    params.exposure = 0.01;
    params.acqContinuous = acqContinuous;
    params.acqTriggered = acqTriggered;
    params.acqTriggerLowToHigh = 1;
    params.roiwidth = 100'000;
    params.roiheight = 100'000;
    return params;
}

std::int32_t AdapterTest::Configure(std::int64_t channel, int acqContinuous, int acqTriggered)
{
    const CommonParams params = Params(acqContinuous, acqTriggered);
    return Channel(0).SetupCommonParams(text(), channel, &params);
}

std::int32_t AdapterTest::Start(std::int64_t channel)
{
    return Channel(0).StartAcquisition(text(), channel);
}

std::int32_t AdapterTest::Stop(std::int64_t channel)
{
    return Channel(0).StopAcquisition(text(), channel);
}

std::uint32_t AdapterTest::Status(std::int64_t channel)
{
    std::uint32_t status = 0xDEAD;
    EXPECT_EQ(Channel(0).QueryImageStatus(text(), channel, &status), 0);
    return status;
}

std::int32_t AdapterTest::Release(std::int64_t channel)
{
    return Channel(0).ReleaseVideoChannel(text(), channel);
}

void AdapterTest::Stream(std::int64_t channel)
{
    Open();
    ASSERT_EQ(Configure(channel), 0) << TextNow();
    ASSERT_EQ(Start(channel), 0) << TextNow();
}

void AdapterTest::ResetSdk()
{
    sdk.SimReset();
    sdk.SimTransformReset();
    sdk.SimSetDescription(kTestCameras.c_str());
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
    std::uint32_t status = 0xDEAD;
    EXPECT_EQ(Channel(0).GetImage(text(), channel, image.Data(), &status), expectedResult) << TextNow();
    EXPECT_EQ(status, expectedStatus);
    return image.AsBytes();
}

void AdapterTest::ClearText()
{
    std::memset(text_.Data(), 0, text_.Size());
}

std::string AdapterTest::LogText()
{
    std::ifstream file(machine.LogFile(), std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::erase(bytes, '\r');
    return bytes;
}

std::vector<std::string> AdapterTest::Log()
{
    static const std::regex prefix(R"(\[\d\d:\d\d:\d\d:\d\d\d L\d{5}\] )");
    const std::string bytes = LogText();
    std::vector<std::string> messages;
    std::istringstream lines(bytes.size() > logStart_ ? bytes.substr(logStart_) : std::string());
    for (std::string line; std::getline(lines, line);) {
        messages.push_back(std::regex_replace(line, prefix, ""));
    }
    return messages;
}

void AdapterTest::ClearLog()
{
    logStart_ = LogText().size();
}

int AdapterTest::CountInLog(const std::string& message)
{
    const std::vector<std::string> log = Log();
    return static_cast<int>(std::count(log.begin(), log.end(), message));
}

bool AdapterTest::IsInLog(const std::string& text)
{
    const std::vector<std::string> log = Log();
    return std::any_of(log.begin(), log.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

std::string AdapterTest::SdkFolder()
{
    const std::string bin = ExecutableFolder();
    return bin.substr(0, bin.find_last_of(PathSeparator)) + PathSeparator + "sdk";
}

std::string AdapterTest::AdapterFile()
{
    return ExecutableFolder() + PathSeparator + MARAVEL_ADAPTER_FILE;
}

std::vector<std::string> WithoutSuccess(std::vector<std::string> calls)
{
    for (std::string& call : calls) {
        if (call.ends_with(" = 0")) {
            call.resize(call.size() - 4);
        }
    }
    return calls;
}

} // namespace maravel::test
