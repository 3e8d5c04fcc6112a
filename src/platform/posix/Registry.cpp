#include "platform/Win32.h"
#include "platform/posix/RegistryFile.h"
#include "platform/posix/System.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

using maravel::posix::ParseRegistryText;
using maravel::posix::RegistryKey;
using maravel::posix::RegistryValue;

// An open key, with a share of the registry as it was when the root was opened.
struct RegistryHandle
{
    std::shared_ptr<const RegistryKey> registry;
    const RegistryKey* key;
};

const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});

namespace {

LSTATUS Status(DWORD error)
{
    return static_cast<LSTATUS>(error);
}

std::shared_ptr<const RegistryKey> ReadRegistry()
{
    const std::string root = maravel::posix::PlatformRoot();
    // A machine without a place has no registry.
    std::ifstream file(root.empty() ? root : root + "/registry.reg", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return ParseRegistryText(bytes);
}

// Copies a name and its terminating null; size counts characters, without the null when it returns.
LSTATUS CopyName(const std::string& name, char* buffer, DWORD* size)
{
    if (name.size() >= *size) {
        return Status(ERROR_MORE_DATA);
    }
    std::memcpy(buffer, name.c_str(), name.size() + 1);
    *size = static_cast<DWORD>(name.size());
    return Status(ERROR_SUCCESS);
}

LSTATUS CopyData(const RegistryValue& value, DWORD* type, BYTE* data, DWORD* dataSize)
{
    if (type != nullptr) {
        *type = value.type;
    }
    const auto size = static_cast<DWORD>(value.data.size());
    const DWORD capacity = dataSize != nullptr ? std::exchange(*dataSize, size) : 0;
    if (dataSize == nullptr || data == nullptr) {
        return Status(ERROR_SUCCESS);
    }
    if (size > capacity) {
        return Status(ERROR_MORE_DATA);
    }
    std::copy(value.data.begin(), value.data.end(), data);
    return Status(ERROR_SUCCESS);
}

} // namespace

LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD, DWORD, HKEY* result)
{
    const auto registry = key == HKEY_LOCAL_MACHINE ? ReadRegistry() : key->registry;
    const RegistryKey* start = key == HKEY_LOCAL_MACHINE ? registry.get() : key->key;
    const RegistryKey* found = start->Find(subKey);
    if (found == nullptr) {
        return Status(ERROR_FILE_NOT_FOUND);
    }
    *result = new RegistryHandle{registry, found};
    return Status(ERROR_SUCCESS);
}

LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD*, DWORD* type, BYTE* data, DWORD* dataSize)
{
    const RegistryValue* value = key->key->FindValue(valueName);
    return value == nullptr ? Status(ERROR_FILE_NOT_FOUND) : CopyData(*value, type, data, dataSize);
}

LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD*, char*, DWORD*, void*)
{
    if (index >= key->key->subKeys.size()) {
        return Status(ERROR_NO_MORE_ITEMS);
    }
    return CopyName(key->key->subKeys[index]->name, name, nameSize);
}

LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD*, DWORD* type, BYTE* data,
                      DWORD* dataSize)
{
    if (index >= key->key->values.size()) {
        return Status(ERROR_NO_MORE_ITEMS);
    }
    const RegistryValue& value = key->key->values[index];
    const LSTATUS status = CopyName(value.name, name, nameSize);
    return status != Status(ERROR_SUCCESS) ? status : CopyData(value, type, data, dataSize);
}

LSTATUS RegCloseKey(HKEY key)
{
    delete key;
    return Status(ERROR_SUCCESS);
}
