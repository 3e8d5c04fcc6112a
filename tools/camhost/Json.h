// What the commands print with --json; docs/camhost.schema.json describes it. One line end at the end.
#pragma once

#include "Acquisition.h"
#include "Features.h"

#include <string>
#include <vector>

namespace maravel::camhost {

std::string CamerasAsJson(const std::vector<CameraRow>& rows);
std::string FeaturesAsJson(const host::Channel& channel, const std::vector<FeatureRow>& rows);
std::string ValuesAsJson(const host::Channel& channel, const std::vector<FeatureRow>& rows);
std::string GrabAsJson(const std::vector<GrabResult>& results, const std::string& contactSheet);

} // namespace maravel::camhost
