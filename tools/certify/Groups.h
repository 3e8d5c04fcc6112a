// The groups of checks; each stands in a file of its own.
#pragma once

#include "Check.h"

namespace maravel::certify {

extern const Group kFolderGroup;       // A
extern const Group kLifeGroup;         // B
extern const Group kEnumerationGroup;  // C
extern const Group kOpeningGroup;      // D
extern const Group kFeatureListGroup;  // E
extern const Group kIntegersGroup;     // F
extern const Group kFloatsGroup;       // G
extern const Group kEnumerationsGroup; // H
extern const Group kTextsGroup;        // I
extern const Group kStandardGroup;     // J
extern const Group kRegionGroup;       // K
extern const Group kBufferGroup;       // L
extern const Group kStreamGroup;       // M
extern const Group kTriggersGroup;     // N
extern const Group kTransformGroup;    // O
extern const Group kAdapterGroup;      // P
extern const Group kDeliveryGroup;     // Q
extern const Group kRobustnessGroup;   // R

} // namespace maravel::certify
