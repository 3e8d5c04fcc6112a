// Owners for what GLib counts and allocates, and the SDK's results for what Aravis reports.
#pragma once

#include "sdk/ZvkTypes.h"

#include <arv.h>
#include <memory>

namespace maravel::aravis {

struct Unref
{
    void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using ObjectPtr = std::unique_ptr<T, Unref>;

// One more owner of an object that somebody else owns too.
template <typename T>
ObjectPtr<T> Share(T* object)
{
    g_object_ref(object);
    return ObjectPtr<T>(object);
}

// How a call of Aravis ended: give it Slot() as its last argument.
class Outcome
{
public:
    Outcome() = default;
    ~Outcome() { g_clear_error(&error_); }
    Outcome(const Outcome&) = delete;
    Outcome& operator=(const Outcome&) = delete;

    // Empty again, for the next call.
    GError** Slot()
    {
        g_clear_error(&error_);
        return &error_;
    }

    bool Failed() const { return error_ != nullptr; }
    // The SDK's result; success when the call reported nothing.
    ZvkError_t Code() const;

private:
    GError* error_ = nullptr;
};

} // namespace maravel::aravis
