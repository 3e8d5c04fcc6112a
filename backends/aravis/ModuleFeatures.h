// The features of what is not the camera itself: transport layer, interface, device module and stream.
#pragma once

#include "Feature.h"
#include "GObjects.h"
#include "TextStore.h"
#include "backends/common/Lock.h"
#include "backends/common/WorkerThread.h"

#include <atomic>

namespace maravel::aravis {

// A module whose features are texts that never change.
class TextModule : public Module
{
public:
    // All of it lives as long as the library is started.
    struct Text
    {
        const char* name;
        const char* description;
        const char* value;
    };

    TextModule(const char* category, std::vector<Text> texts) : category_(category), texts_(std::move(texts))
    {
    }

    std::vector<ZvkFeatureInfo_t> List() const override;
    std::unique_ptr<Feature> Find(const char* name) const override;

private:
    const char* const category_;
    const std::vector<Text> texts_;
};

// Finding the largest packets that the way between camera and computer carries takes longer than a call may.
class PacketSizeNegotiation
{
public:
    ~PacketSizeNegotiation() { Wait(); }

    // Begins; `control` is held by the caller, and by the negotiation while it runs. Busy when one runs
    // already.
    ZvkError_t Start(ArvDevice* device, backend::Mutex& control);
    bool IsRunning() const { return running_.load(); }
    void Wait() { worker_.Wait(); }

private:
    static void Run(void* negotiation);

    backend::WorkerThread worker_;
    std::atomic<bool> running_{false};
    ObjectPtr<ArvDevice> device_;
    backend::Mutex* control_ = nullptr;
};

// The stream of an open camera. Only GigE Vision has packets whose size can be chosen.
class StreamModule final : public Module
{
public:
    // Everything outlives the object.
    StreamModule(ArvDevice* device, const char* streamId, PacketSizeNegotiation& negotiation,
                 backend::Mutex& control);

    std::vector<ZvkFeatureInfo_t> List() const override;
    std::unique_ptr<Feature> Find(const char* name) const override;

private:
    std::vector<std::unique_ptr<Feature>> GigEFeatures() const;

    ArvDevice* const device_;
    TextModule information_;
    PacketSizeNegotiation& negotiation_;
    backend::Mutex& control_;
};

} // namespace maravel::aravis
