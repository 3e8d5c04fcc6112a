// What identifies this build, for a report from a factory.
#pragma once

#include <string>

namespace maravel::camhost {

std::string VersionText();

} // namespace maravel::camhost
