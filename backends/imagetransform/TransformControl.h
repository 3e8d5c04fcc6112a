/* How a test steers ZvkImageTransform.dll: the record of calls, calls that are told to fail, entry points
 * replaced by the test's own. The functions are exported beside the SDK's entry points;
 * SIM_TRANSFORM_FUNCTIONS lists them once, to be expanded into prototypes or into a table of pointers
 * resolved by name. They mean what their namesakes in simulated/SimulationControl.h mean for ZvkC.dll. Any
 * thread. Valid C (C11) and C++.
 */
#ifndef MARAVEL_TRANSFORMCONTROL_H
#define MARAVEL_TRANSFORMCONTROL_H

#include <stdint.h>

/* clang-format off */
#define SIM_TRANSFORM_FUNCTIONS(FUNCTION) \
    /* Ends faults, replacements and choices and clears the record of calls. */ \
    FUNCTION(void, SimTransformReset, (void)) \
    /* The nth call from now (1: the next one) of the entry point, null: of any, fails with code, once or from then \
     * on for ever, without effect and without outputs. */ \
    FUNCTION(int32_t, SimTransformFailCall, (const char* entry, uint32_t nth, int32_t code, uint32_t forever)) \
    /* Calls that failed that way since SimTransformReset. */ \
    FUNCTION(uint32_t, SimTransformFaultsFired, (void)) \
    /* Calls of the entry point go to a function of the same signature; null ends that. */ \
    FUNCTION(int32_t, SimTransformReplaceEntry, (const char* entry, void* function)) \
    /* The library's own implementation, for a replacement to forward to; null for an unknown name. */ \
    FUNCTION(void*, SimTransformOriginalEntry, (const char* entry)) \
    /* Calls since SimTransformReset, of one entry point or (null) of all. */ \
    FUNCTION(uint64_t, SimTransformCallCount, (const char* entry)) \
    /* Converts with this instruction set from now on, "plain", "ssse3", "avx2" or "avx512vbmi". Not supported: it is \
     * not built, or this processor lacks it. */ \
    FUNCTION(int32_t, SimTransformUseInstructionSet, (const char* name)) \
    /* From now on so many threads share every image, however small, the caller's included and as far as there are \
     * processors. 0: as the SDK folder says. */ \
    FUNCTION(void, SimTransformUseThreads, (uint32_t threads)) \
    /* Threads that share a large image by what the SDK folder and the environment say. */ \
    FUNCTION(uint32_t, SimTransformThreads, (void))
/* clang-format on */

#endif /* MARAVEL_TRANSFORMCONTROL_H */
