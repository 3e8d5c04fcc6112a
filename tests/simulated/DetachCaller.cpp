// A library that calls back while it is unloaded: on Windows under the loader lock, and at the end of a
// process when every other thread is gone.
#include "platform/Compiler.h"

namespace {

struct Detach
{
    ~Detach()
    {
        if (action != nullptr) {
            action();
        }
    }

    void (*action)() = nullptr;
} g_detach;

} // namespace

extern "C" MARAVEL_EXPORT void CallAtDetach(void (*action)());

extern "C" void CallAtDetach(void (*action)())
{
    g_detach.action = action;
}
