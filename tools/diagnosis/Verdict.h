// From evidence to findings: which of them are causes, in which order, and in which words.
#pragma once

#include "Run.h"

namespace maravel::diagnosis {

std::vector<Finding> Judge(const std::map<std::pair<FaultId, std::int64_t>, RunEvidence>& evidence,
                           const RunReport& run, const std::map<std::int64_t, std::string>& cameras,
                           const Circumstances& circumstances);

} // namespace maravel::diagnosis
