// Where camhost finds what it works with when nobody names it: beside itself, as a build leaves it, else
// where an installation puts it. What is in neither place is named by the first.
#pragma once

#include <filesystem>

namespace maravel::camhost {

std::filesystem::path OwnAdapter();
std::filesystem::path OwnSdk();

} // namespace maravel::camhost
