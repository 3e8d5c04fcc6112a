// The commands that deal with features. All throw Failure.
#pragma once

#include "CommandLine.h"
#include "host/Channel.h"

#include <cstdint>
#include <string>
#include <vector>

namespace maravel::camhost {

// What is told of a camera.
struct CameraRow
{
    host::Channel channel;
    std::string address; // where it is reached; empty when it does not say or is not open
    std::string fault;   // why it cannot be opened, when that is known
};

// What is told of a feature.
struct FeatureRow
{
    std::string name;
    std::int32_t type = 0; // FeatureType...
    bool readable = false, writable = false;
    bool known = false; // its value could be read
    std::string value = {};
    std::vector<std::string> entries = {}; // of an enumeration
    std::string description = {};
};

const char* TypeName(std::int32_t type);

void ListChannels(const std::vector<host::Channel>& channels, bool asJson);
void DescribeChannel(const host::Channel& channel, bool asJson);
void GetFeatures(const host::Channel& channel, const std::vector<std::string>& features, bool asJson);
void SetFeatures(const host::Channel& channel, const std::vector<Assignment>& assignments);
void RunCommand(const host::Channel& channel, const std::string& feature);

// Writes one feature and reads it back. The adapter takes any text for a number or a boolean, so a text that
// is none is refused here; a boolean may be given as True, False, 1, 0, on, off, yes and no. Cameras clamp
// numbers in silence: returns what Difference says of it.
std::string WriteFeature(const host::Channel& channel, const std::string& feature, const std::string& value);

// Says what a feature became when it does not hold what was asked for; empty when it does.
std::string Difference(const std::string& feature, const std::string& asked, const std::string& now);

// The adapter's text of a failed call; says so when there is none.
std::string ReasonOf(const host::Outcome& outcome);

} // namespace maravel::camhost
