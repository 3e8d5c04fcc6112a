#include "config/TriggerModel.h"

#include "diag/Log.h"
#include "platform/Win32.h"

#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace maravel {

namespace {

constexpr FileVersion kFirstNewVersion = {2, 3, 0, 14};

std::optional<FileVersion> ReadFileVersion(const char* path)
{
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    const std::unique_ptr<char[]> block(size != 0 ? new (std::nothrow) char[size] : nullptr);
    void* fixed = nullptr;
    UINT fixedSize = 0;
    if (block == nullptr || GetFileVersionInfoA(path, 0, size, block.get()) == FALSE ||
        VerQueryValueA(block.get(), "\\", &fixed, &fixedSize) == FALSE ||
        fixedSize < sizeof(VS_FIXEDFILEINFO)) {
        return std::nullopt;
    }
    VS_FIXEDFILEINFO info;
    std::memcpy(&info, fixed, sizeof info);
    return UnpackFileVersion(info.dwFileVersionMS, info.dwFileVersionLS);
}

const char* FileNameOf(const char* path)
{
    const std::size_t separator = std::string_view(path).find_last_of("\\/");
    return separator == std::string_view::npos ? path : path + separator + 1;
}

bool DecideTriggerModel(const char* path)
{
    const std::optional<FileVersion> version = ReadFileVersion(path);
    if (!version) {
        return false;
    }
    WriteLog(__LINE__, "%s: %s version: %u.%u.%u.%u\n", "CheckTriggerModel", FileNameOf(path), (*version)[0],
             (*version)[1], (*version)[2], (*version)[3]);
    return UsesNewTriggerModel(*version);
}

} // namespace

FileVersion UnpackFileVersion(std::uint32_t mostSignificant, std::uint32_t leastSignificant)
{
    const auto high = [](std::uint32_t pair) { return static_cast<std::uint16_t>(pair >> 16); };
    const auto low = [](std::uint32_t pair) { return static_cast<std::uint16_t>(pair & 0xFFFF); };
    return {high(mostSignificant), low(mostSignificant), high(leastSignificant), low(leastSignificant)};
}

bool UsesNewTriggerModel(const FileVersion& version)
{
    return version >= kFirstNewVersion;
}

bool CheckTriggerModel()
{
    char path[MAX_PATH] = "";
    DWORD size = MAX_PATH;
    const HANDLE process = GetCurrentProcess();
    if (QueryFullProcessImageNameA(process, 0, path, &size) == FALSE) {
        path[0] = '\0';
    }
    CloseHandle(process);
    WriteLog(__LINE__, "%s: Calling process: %s\n", "CheckTriggerModel", path);
    const bool isNew = DecideTriggerModel(path);
    WriteLog(__LINE__, "%s: Using %s trigger model.\n", "CheckTriggerModel", isNew ? "new" : "old");
    return isNew;
}

} // namespace maravel
