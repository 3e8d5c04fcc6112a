#include "support/TestPlatform.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace maravel::test {

std::string SdkFolder(const std::string& name)
{
    return (std::filesystem::path(ExecutableFolder()).parent_path() / name).string();
}

std::string AdapterFile()
{
    return (std::filesystem::path(ExecutableFolder()) / MARAVEL_ADAPTER_FILE).string();
}

std::string PrivateMachine::LogText(std::size_t from) const
{
    std::ifstream file(LogFile(), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from));
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::erase(bytes, '\r');
    return bytes;
}

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
