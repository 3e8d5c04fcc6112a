// What ZvkImageTransform.dll exports: the SDK's entry points, and the control of them.
#include "imagetransform/Bands.h"
#include "imagetransform/Configuration.h"
#include "imagetransform/ImageTransform.h"
#include "imagetransform/RowKernels.h"
#include "imagetransform/TransformControl.h"

#include "common/Dispatch.h"

namespace maravel::imagetransform {

MARAVEL_SERVE_ENTRY_POINTS(ZVK_IMAGE_TRANSFORM_ENTRY_POINTS, ImageTransform, 256)

} // namespace maravel::imagetransform

using maravel::imagetransform::EntryPointCalls;
using maravel::imagetransform::OriginalEntry;

extern "C" {

#define MARAVEL_EXPORT_CONTROL(result, name, parameters) MARAVEL_EXPORT result name parameters;
SIM_TRANSFORM_FUNCTIONS(MARAVEL_EXPORT_CONTROL)
#undef MARAVEL_EXPORT_CONTROL

void SimTransformReset()
{
    EntryPointCalls().Reset();
    maravel::imagetransform::ChooseKernels(nullptr);
    maravel::imagetransform::UseThreads(0);
}

int32_t SimTransformFailCall(const char* entry, uint32_t nth, int32_t code, uint32_t forever)
{
    return EntryPointCalls().FailCall(entry, nth, code, forever != 0) ? ZvkErrorSuccess
                                                                      : ZvkErrorBadParameter;
}

uint32_t SimTransformFaultsFired()
{
    return EntryPointCalls().FaultsFired();
}

int32_t SimTransformReplaceEntry(const char* entry, void* function)
{
    if (entry == nullptr) {
        return ZvkErrorBadParameter;
    }
    return EntryPointCalls().ReplaceEntry(entry, function) ? ZvkErrorSuccess : ZvkErrorBadParameter;
}

void* SimTransformOriginalEntry(const char* entry)
{
    return entry == nullptr ? nullptr : OriginalEntry(EntryPointCalls().IndexOf(entry));
}

uint64_t SimTransformCallCount(const char* entry)
{
    return EntryPointCalls().CallCount(entry);
}

void SimTransformUseThreads(uint32_t threads)
{
    maravel::imagetransform::UseThreads(threads);
}

uint32_t SimTransformThreads()
{
    return maravel::imagetransform::ConfiguredThreads();
}

int32_t SimTransformUseInstructionSet(const char* name)
{
    if (name == nullptr) {
        return ZvkErrorBadParameter;
    }
    return maravel::imagetransform::ChooseKernels(name) ? ZvkErrorSuccess : ZvkErrorNotSupported;
}

} // extern "C"
