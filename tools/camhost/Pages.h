// What an installation has of camhost's own description, beside --help.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace maravel::camhost {

// "man": the manual page; "bash-completion": the completion of its words; empty for any other name.
std::string PageOf(const CLI::App& app, const std::string& name);

} // namespace maravel::camhost
