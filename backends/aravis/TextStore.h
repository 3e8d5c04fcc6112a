// Texts that are handed out and must live until ZvkShutdown, also when the camera that they came from is
// closed. Equal texts are kept once, so what is asked again and again does not grow.
#pragma once

#include "backends/common/Lock.h"

#include <string>
#include <unordered_set>

namespace maravel::aravis {

class TextStore
{
public:
    // Null is kept as the empty text. Any thread.
    const char* Keep(const char* text)
    {
        backend::Lock lock(mutex_);
        return texts_.emplace(text == nullptr ? "" : text).first->c_str();
    }

private:
    backend::Mutex mutex_; // a leaf
    std::unordered_set<std::string> texts_ MARAVEL_GUARDED_BY(mutex_);
};

} // namespace maravel::aravis
