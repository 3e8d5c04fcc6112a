#include "support/TestHost.h"

#include "support/Patterns.h"

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

namespace maravel::test {

namespace {

// More channels or list entries than this no test has: an endless list is a fault, not a wait.
constexpr int kMaxListed = 1000;
constexpr int kUnloadAttempts = 10'000;

// What `next` tells of 0, 1, ... up to the first empty text.
template <class Next>
std::vector<std::string> Listed(Next next)
{
    std::vector<std::string> list;
    for (int index = 0; index < kMaxListed; ++index) {
        std::string text = next(index);
        if (text.empty()) {
            return list;
        }
        list.push_back(std::move(text));
    }
    ADD_FAILURE() << "a list does not end";
    return list;
}

} // namespace

bool Answer::IsConsistent() const
{
    const bool isSuccess = status == MARAVEL_SUCCESS;
    switch (rule) {
    case TextRule::WithFailure:
        return isSuccess == text.empty();
    case TextRule::MayEndSilently:
        return !isSuccess || text.empty();
    case TextRule::MayWarn:
        return isSuccess || !text.empty();
    case TextRule::WithOpenResult:
        // A camera that opened and does not close again is the one thing to tell of an opened channel.
        return detail != 0 ? !text.empty() : text.empty() || text.find("while closing") != std::string::npos;
    }
    return false;
}

std::int32_t HostCalls::GetVideoChannel(std::int32_t index, VideoChannelDescriptor* descriptor)
{
    ClearText();
    status_ = getVideoChannel_(text(), index, descriptor);
    const bool isChannel = status_ == MARAVEL_SUCCESS;
    Note({"GetVideoChannel", isChannel ? WithOpenResult : MayEndSilently, status_,
          isChannel ? descriptor->openResult : 0, TextNow()});
    return status_;
}

std::int32_t HostCalls::Type(std::int64_t channel, const std::string& feature)
{
    std::int32_t type = FeatureTypeUnsupported;
    Call("GetFeatureType", WithFailure, callbacks_.GetFeatureType, channel, feature.c_str(), &type);
    return type;
}

std::vector<std::string> HostCalls::Names(std::int64_t channel)
{
    return Listed([&](int index) { return Name(channel, index); });
}

std::vector<std::string> HostCalls::Entries(std::int64_t channel, const std::string& feature)
{
    return Listed([&](int index) { return Entry(channel, feature, static_cast<std::uint32_t>(index)); });
}

void HostCalls::ClearText()
{
    std::memset(text_.Data(), 0, text_.Size());
}

std::uint32_t* HostCalls::NewStatus()
{
    imageStatus_ = 0xDEAD;
    isImageStatusNew_ = true;
    return &imageStatus_;
}

TestHost::TestHost(std::string cameras, std::string adapterFile)
    : cameras_(std::move(cameras)), adapterFile_(std::move(adapterFile))
{
    SetEnvironment("ZORVIK_HOME", SdkFolder());
    ResetSdk();
}

TestHost::~TestHost()
{
    UnloadAdapter();
    sdk.SimReset();
    sdk.SimSetDescription(nullptr);
    sdk.SimTransformReset();
}

void TestHost::LoadAdapter()
{
    if (adapter_ != nullptr) {
        return;
    }
    adapter_ = LoadLibraryA(adapterFile_.c_str());
    ASSERT_NE(adapter_, nullptr) << adapterFile_ << " does not load";
    Resolve("GetVideoChannel", getVideoChannel_);
}

void TestHost::UnloadAdapter()
{
    if (adapter_ != nullptr) {
        EXPECT_NE(FreeLibrary(adapter_), 0);
        adapter_ = nullptr;
        channels_.clear();
        callbacks_ = {};
    }
}

void TestHost::ResetSdk()
{
    sdk.SimReset();
    sdk.SimTransformReset();
    sdk.SimSetDescription(cameras_.c_str());
    if (IsUnkind()) {
        unkind_->Install();
    }
}

void TestHost::BeUnkind(bool isUnkind)
{
    unkind_.reset();
    if (isUnkind) {
        unkind_ = std::make_unique<UnkindSdk>(sdk, ThreadsEndWhileUnloading());
    }
    ResetSdk();
}

std::int32_t TestHost::GetVideoChannel(std::int32_t index, VideoChannelDescriptor* descriptor)
{
    if (index == 0) {
        logStart_ = 0; // a start empties the log
    }
    return HostCalls::GetVideoChannel(index, descriptor);
}

void TestHost::Open()
{
    channels_.clear();
    for (std::int32_t index = 0; index < kMaxListed; ++index) {
        Guarded<VideoChannelDescriptor>& descriptor = channels_.emplace_back(sizeof(VideoChannelDescriptor));
        if (GetVideoChannel(index, descriptor.Get()) != MARAVEL_SUCCESS) {
            channels_.pop_back();
            return;
        }
        EXPECT_EQ(descriptor->channelID, index);
        callbacks_ = *descriptor;
    }
    ADD_FAILURE() << "the list of channels does not end";
}

std::vector<std::string> TestHost::Log() const
{
    std::vector<std::string> messages;
    std::istringstream lines(LogText(logStart_));
    for (std::string line; std::getline(lines, line);) {
        messages.push_back(ReplacePattern(line, R"(\[\d\d:\d\d:\d\d:\d\d\d L\d{5}\] )", ""));
    }
    return messages;
}

void TestHost::ClearLog()
{
    std::error_code none;
    const std::uintmax_t size = std::filesystem::file_size(machine.LogFile(), none);
    logStart_ = none ? 0 : static_cast<std::size_t>(size);
}

std::string TestHost::LeftOver(std::uint32_t running) const
{
    const SimStateInfo state = sdk.State();
    const std::pair<const char*, bool> rules[] = {
        {"started", state.started == running},
        {"open cameras", state.openCameras == running},
        {"capturing", state.capturingCameras == 0},
        {"acquiring", state.acquiringCameras == 0},
        {"announced frames", state.announcedFrames == 0},
        {"queued frames", state.queuedFrames == 0},
        {"threads", state.started != 0 || state.workerThreads == 0}};
    std::string left;
    for (const auto& [what, isKept] : rules) {
        left += isKept ? "" : left.empty() ? what : std::string(", ") + what;
    }
    return left;
}

std::string TestHost::LeftModules()
{
    // A library goes when the last of its threads has left it, which on Windows is a moment after its work
    // ended.
    std::string left;
    for (int attempt = 0; attempt < kUnloadAttempts; ++attempt) {
        left.clear();
        for (const char* name : {"ZvkC.dll", "ZvkImageTransform.dll", MARAVEL_ADAPTER_FILE}) {
            left += IsModuleLoaded(name) ? std::string(name) + " " : "";
        }
        if (left.empty()) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return left;
}

} // namespace maravel::test
