#include "diag/EnvironmentProbes.h"

#include "diag/Log.h"
#include "diag/RegistryKey.h"
#include "platform/Win32.h"

#include <cstring>

namespace maravel {

namespace {

constexpr char kAdaptersKey[] = "SOFTWARE\\maravel\\PLK";
constexpr DWORD kNameSize = 1024;
constexpr DWORD kDataSize = 1024;

bool Succeeded(LSTATUS status)
{
    return status == static_cast<LSTATUS>(ERROR_SUCCESS);
}

void ListValues(HKEY adapterKey)
{
    for (DWORD index = 0;; ++index) {
        char name[kNameSize];
        BYTE data[kDataSize + 1] = {}; // a text need not be stored with its null; one is always here
        DWORD nameSize = kNameSize;
        DWORD dataSize = kDataSize;
        DWORD type = 0;
        if (!Succeeded(RegEnumValueA(adapterKey, index, name, &nameSize, nullptr, &type, data, &dataSize))) {
            return;
        }
        data[dataSize < kDataSize ? dataSize : kDataSize] = 0;
        if (type == REG_SZ) {
            WriteLog(__LINE__, "%s:  %s=%s\n", "listAdapters", name, reinterpret_cast<const char*>(data));
        }
        else if (type == REG_DWORD) {
            DWORD number = 0;
            std::memcpy(&number, data, sizeof number);
            WriteLog(__LINE__, "%s:  %s=%u\n", "listAdapters", name, static_cast<unsigned>(number));
        }
    }
}

} // namespace

bool isProcessRunningAsAdmin()
{
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
        WriteLog(__LINE__, "%s: Failed to open process token", "isProcessRunningAsAdmin");
        return false;
    }
    TOKEN_ELEVATION elevation = {};
    DWORD size = sizeof elevation;
    const bool answered =
        GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &size) != FALSE;
    if (!answered) {
        WriteLog(__LINE__, "%s: Failed to get token elevation", "isProcessRunningAsAdmin");
    }
    CloseHandle(token);
    return answered && elevation.TokenIsElevated != 0;
}

void listAdapters()
{
    RegistryKey adapters;
    if (!Succeeded(OpenKey(HKEY_LOCAL_MACHINE, kAdaptersKey, adapters))) {
        WriteLog(__LINE__, "%s: Failed to open %s\n", "listAdapters", kAdaptersKey);
        return;
    }
    for (DWORD index = 0;; ++index) {
        char name[kNameSize];
        DWORD nameSize = kNameSize;
        if (!Succeeded(
                RegEnumKeyExA(adapters.get(), index, name, &nameSize, nullptr, nullptr, nullptr, nullptr))) {
            return;
        }
        WriteLog(__LINE__, "%s: %s\n", "listAdapters", name);
        RegistryKey adapter;
        if (!Succeeded(OpenKey(adapters.get(), name, adapter))) {
            WriteLog(__LINE__, "%s: Failed to open subkey\n", "listAdapters");
            return;
        }
        ListValues(adapter.get());
    }
}

} // namespace maravel
