#include "support/TestPlatform.h"

namespace maravel::test {

RegistryEntry RegistryKeyOnly(const std::string& key)
{
    return {key, {}, 0, {}};
}

RegistryEntry RegistryNumber(const std::string& key, const std::string& value, std::uint32_t number)
{
    RegistryEntry entry{key, value, 4, {}};
    for (int shift = 0; shift < 32; shift += 8) {
        entry.data.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    return entry;
}

RegistryEntry RegistryText(const std::string& key, const std::string& value, const std::string& text)
{
    RegistryEntry entry{key, value, 1, {text.begin(), text.end()}};
    entry.data.push_back(0);
    return entry;
}

RegistryEntry RegistryBinary(const std::string& key, const std::string& value, std::vector<std::uint8_t> data)
{
    return {key, value, 3, std::move(data)};
}

} // namespace maravel::test
