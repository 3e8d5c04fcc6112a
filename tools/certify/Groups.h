// The groups of checks; each stands in a file of its own, and its words in a namespace of their own.
#pragma once

#include "Check.h"

namespace maravel::certify {

namespace folder {
extern const Group kGroup; // A
}
namespace life {
extern const Group kGroup; // B
}
namespace enumeration {
extern const Group kGroup; // C
}
namespace opening {
extern const Group kGroup; // D
}
namespace feature_list {
extern const Group kGroup; // E
}
namespace integers {
extern const Group kGroup; // F
}
namespace floats {
extern const Group kGroup; // G
}
namespace enumerations {
extern const Group kGroup; // H
}
namespace texts {
extern const Group kGroup; // I
}
namespace standard {
extern const Group kGroup; // J
}
namespace region {
extern const Group kGroup; // K
}
namespace buffer {
extern const Group kGroup; // L
}
namespace streaming {
extern const Group kGroup; // M
}
namespace triggers {
extern const Group kGroup; // N
}
namespace transform {
extern const Group kGroup; // O
}
namespace adapter {
extern const Group kGroup; // P
}
namespace delivery {
extern const Group kGroup; // Q
}
namespace robustness {
extern const Group kGroup; // R
}

} // namespace maravel::certify
