#include "imagetransform/Configuration.h"

#include "common/Files.h"
#include "common/HelperThreads.h"
#include "common/ModuleLife.h"

#include <toml++/toml.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string>

namespace maravel::imagetransform {
namespace {

constexpr const char* kVariable = "MARAVEL_TRANSFORM_THREADS";
constexpr const char* kFile = "imagetransform.toml";
constexpr std::int64_t kMost = 256;

unsigned Report(const char* where, const char* what)
{
    std::fprintf(stderr, "%s: %s; images are converted by one thread\n", where, what);
    return 1;
}

unsigned Checked(const char* where, std::optional<std::int64_t> threads)
{
    if (!threads || *threads < 1 || *threads > kMost) {
        return Report(where, "\"threads\" must be a whole number from 1 to 256");
    }
    return static_cast<unsigned>(*threads);
}

std::optional<std::int64_t> NumberIn(const std::string& text)
{
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

unsigned ReadText(const std::string& text, unsigned otherwise)
{
    // toml++ 3.3 runs into its own unreachable code on some characters in keys; nothing here needs more than
    // ASCII.
    if (std::ranges::any_of(text, [](char byte) { return static_cast<unsigned char>(byte) > 0x7E; })) {
        return Report(kFile, "only ASCII characters are allowed");
    }
    try {
        const toml::table table = toml::parse(text);
        for (const auto& [key, value] : table) {
            if (key.str() != "threads") {
                return Report(kFile, "there is no entry but \"threads\"");
            }
            return Checked(kFile, value.is_integer() ? value.value<std::int64_t>() : std::nullopt);
        }
        return otherwise;
    }
    catch (const toml::parse_error& error) {
        return Report(kFile, error.what());
    }
}

unsigned ReadConfiguration()
{
    const unsigned processors = backend::HelperThreads::Processors();
    if (const std::string variable = backend::EnvironmentText(kVariable); !variable.empty()) {
        return std::min(processors, Checked(kVariable, NumberIn(variable)));
    }
    std::string text;
    if (!backend::ReadWholeFile(backend::LibraryFolder().parent_path() / kFile, &text)) {
        return processors;
    }
    return std::min(processors, ReadText(text, processors));
}

} // namespace

unsigned ConfiguredThreads()
{
    static const unsigned threads = ReadConfiguration();
    return threads;
}

} // namespace maravel::imagetransform
