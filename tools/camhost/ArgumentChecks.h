// Checks of single arguments, each with what is to be written instead.
#pragma once

#include <CLI/CLI.hpp>

namespace maravel::camhost {

CLI::Validator IsFolder();
CLI::Validator IsSeconds();
CLI::Validator IsPixels();
CLI::Validator IsIndex();
CLI::Validator IsTimeOfDay();

} // namespace maravel::camhost
