#include "config/TriggerModel.h"

#include "diag/Log.h"
#include "platform/Win32.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace maravel {

namespace {

constexpr FileVersion kFirstNewVersion = {2, 3, 0, 14};

struct FreeBlock
{
    void operator()(void* block) const { std::free(block); }
};

std::optional<FileVersion> ReadFileVersion(const char* path, DWORD size)
{
    const std::unique_ptr<void, FreeBlock> block(std::malloc(size));
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
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '\\' || *c == '/') {
            name = c + 1;
        }
    }
    return name;
}

bool DecideTriggerModel(const char* path)
{
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    if (size == 0) {
        return false;
    }
    const std::optional<FileVersion> read = ReadFileVersion(path, size);
    if (!read) {
        return false;
    }
    const FileVersion& version = *read;
    WriteLog(__LINE__, "%s: %s version: %u.%u.%u.%u\n", "CheckTriggerModel", FileNameOf(path), version[0],
             version[1], version[2], version[3]);
    return UsesNewTriggerModel(version);
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
