// Setters of one enumeration feature each. They report a failure under their own names and otherwise never
// fail their caller; the boolean ones tell whether the entry was written.
#pragma once

#include "core/HostCall.h"

namespace maravel {

// Needs TriggerSource, without which a camera's triggers cannot be told apart.
bool SetTriggerSelector(const ChannelCall& call, const char* selector);

bool SetTriggerMode(const ChannelCall& call, bool on);

bool SetExposureMode(const ChannelCall& call, bool timed);

// To "Software". Only for a camera that has TriggerSource.
void SetTriggerSource(const ChannelCall& call);

// To "Line0" if the source is "Software" or "Freerun"; a line that the user chose stays. Only for a camera
// that has TriggerSource.
void ResetTriggerSource(const ChannelCall& call);

// To "Continuous".
void SetAcquisitionMode(const ChannelCall& call);

void SetTriggerActivation(const ChannelCall& call, bool lowToHigh);

} // namespace maravel
