// Every documented call of the runtime library that must be refused somewhere: before the start, after the
// stop, with a handle that is none.
#pragma once

#include "Sdk.h"

namespace maravel::certify {

// Calls each entry point that has a result, but ZvkVersionQuery and ZvkStartup, with outputs that must stay
// as they are. Throws Failed with all that succeed, write, or (strictly) answer another code.
void ExpectAllRefused(const Sdk& sdk, ZvkHandle_t handle, ZvkError_t code);

// The same for those that take a handle.
void ExpectHandleRefused(const Sdk& sdk, ZvkHandle_t handle, ZvkError_t code);

} // namespace maravel::certify
