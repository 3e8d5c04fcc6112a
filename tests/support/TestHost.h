// The host of the tests: the built adapter above the simulated SDK, on a machine of its own.
#pragma once

#include "support/HostCalls.h"
#include "support/SdkControl.h"
#include "support/TestPlatform.h"
#include "support/UnkindSdk.h"

#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <utility>

namespace maravel::test {

// With the cameras of a description. Nothing is loaded at first. One at a time.
class TestHost : public HostCalls
{
public:
    explicit TestHost(std::string cameras, std::string adapterFile = AdapterFile());
    // Unloads the adapter; the SDK and its cameras are then as they are built.
    ~TestHost() override;
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    void LoadAdapter(); // unless it is
    void UnloadAdapter();

    // A further function that the loaded adapter exports.
    template <class Function>
    void Resolve(const char* name, Function& function)
    {
        const FARPROC address = GetProcAddress(adapter_, name);
        ASSERT_NE(address, nullptr) << name;
        std::memcpy(&function, &address, sizeof function);
    }

    // Calls of the SDK's entry point go to a function, or a lambda without captures, of the same signature;
    // `original` gets what they went to.
    template <class Function>
    void Replace(const char* entry, Function function,
                 decltype(+std::declval<Function>())* original = nullptr)
    {
        if (original != nullptr) {
            *original = reinterpret_cast<decltype(+function)>(sdk.SimOriginalEntry(entry));
        }
        sdk.SimReplaceEntry(entry, reinterpret_cast<void*>(+function));
    }
    template <class Function>
    void ReplaceTransform(const char* entry, Function function)
    {
        sdk.SimTransformReplaceEntry(entry, reinterpret_cast<void*>(+function));
    }

    // Ends everything that the SDK was told to do; its cameras and its manners stay.
    void ResetSdk();
    // Puts an unkind SDK before the simulated one, or takes it away. Not while the adapter is loaded: its
    // frames keep the callbacks that they were queued with.
    void BeUnkind(bool isUnkind);
    bool IsUnkind() const { return unkind_ != nullptr; }

    std::int32_t GetVideoChannel(std::int32_t index, VideoChannelDescriptor* descriptor);
    // Collects all channels, as a host does.
    void Open();
    VideoChannelDescriptor& Channel(std::size_t index) { return *channels_.at(index); }
    std::size_t ChannelCount() const { return channels_.size(); }
    // The exported function, for the calls of another thread.
    GetVideoChannelFn EntryPoint() const { return getVideoChannel_; }

    std::string LogText(std::size_t from = 0) const { return machine.LogText(from); }
    // Messages of the log since the last ClearLog (or the start), without prefixes and line ends.
    std::vector<std::string> Log() const;
    void ClearLog();

    // What the SDK holds although `running` cameras are open and none streams; empty when nothing is.
    std::string LeftOver(std::uint32_t running = 0) const;
    // What is still loaded when no host is there any more.
    static std::string LeftModules();

    PrivateMachine machine;
    SdkControl sdk{SdkFolder()};

protected:
    std::size_t logStart_ = 0;
    std::unique_ptr<UnkindSdk> unkind_;

private:
    const std::string cameras_;
    const std::string adapterFile_;
    HMODULE adapter_ = nullptr;
    std::deque<Guarded<VideoChannelDescriptor>> channels_;
};

} // namespace maravel::test
