// Runs checks in this process.
#pragma once

#include "Session.h"

#include <functional>
#include <span>

namespace maravel::certify {

// All groups, in the order in which they run.
std::span<const Group> Groups();
const Check* FindCheck(const std::string& id);

// Never throws. After a failure the camera is set back and everything is closed, so that the next check
// begins anew.
Result RunCheck(Session& session, const Check& check);

// The part of a process that runs checks for another one: it tells what it does on standard output, a line
// each (see Worker.h), and ends itself when a check does not return.
// `words` are identifiers of checks, or one of the words in Worker.h.
int RunAsWorker(const Settings& settings, const std::vector<std::string>& words);

} // namespace maravel::certify
