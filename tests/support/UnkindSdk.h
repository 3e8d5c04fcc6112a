// All that an SDK may do and a careful one does not, put before the simulated one: frames that come before
// the start command returns, frames of another format in the middle of a stream, a requeue that takes its
// time, a transform that compares nothing, texts that end with their camera, messages pumped during a call,
// and a shut-down that joins its threads.
#pragma once

#include "support/SdkControl.h"

#include <functional>

namespace maravel::test {

// In force while the object lives; one at a time.
class UnkindSdk
{
public:
    // A thread can be joined while a library unloads only where the loader lets threads end meanwhile.
    explicit UnkindSdk(SdkControl& sdk, bool joinsAtShutdown);
    ~UnkindSdk();
    UnkindSdk(const UnkindSdk&) = delete;
    UnkindSdk& operator=(const UnkindSdk&) = delete;

    // Again, after SimReset and SimTransformReset have put the SDK's own manners back.
    void Install();

    // What the host does when the SDK pumps messages, on the thread of the host's call.
    std::function<void()> onMessages;
};

} // namespace maravel::test
