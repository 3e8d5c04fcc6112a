#include "Sdk.h"

#include "Check.h"
#include "host/Module.h"
#include "host/Utf8Path.h"

namespace maravel::certify {
namespace {

#define CERTIFY_NAME(result, name, parameters) #name,
constexpr const char* kRuntimeEntries[] = {ZVK_RUNTIME_ENTRY_POINTS(CERTIFY_NAME)};
constexpr const char* kTransformEntries[] = {ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(CERTIFY_NAME)};
#undef CERTIFY_NAME

template <class Function>
void Bind(Function*& pointer, const LoadedLibrary& library, const char* name)
{
    pointer = reinterpret_cast<Function*>(library.Find(name));
    if (pointer == nullptr) {
        throw Failed{std::string("the entry point ") + name + " is missing"};
    }
}

} // namespace

std::span<const char* const> RuntimeEntryNames()
{
    return kRuntimeEntries;
}

std::span<const char* const> TransformEntryNames()
{
    return kTransformEntries;
}

LoadedLibrary::LoadedLibrary(const std::filesystem::path& file)
{
    std::string reason;
    module_ = host::LoadModule(file, &reason);
    if (module_ == nullptr) {
        throw Failed{host::TextOf(file) + " does not load: " + reason};
    }
}

LoadedLibrary::~LoadedLibrary()
{
    host::UnloadModule(module_);
}

void* LoadedLibrary::Find(const char* name) const
{
    return host::FindFunction(module_, name);
}

Sdk::Sdk(const std::filesystem::path& folder)
    : transform_(folder / "bin" / kTransformFile), runtime_(folder / "bin" / kRuntimeFile)
{
#define CERTIFY_BIND(result, name, parameters) Bind(name, runtime_, #name);
    ZVK_RUNTIME_ENTRY_POINTS(CERTIFY_BIND)
#undef CERTIFY_BIND
#define CERTIFY_BIND(result, name, parameters) Bind(name, transform_, #name);
    ZVK_IMAGE_TRANSFORM_ENTRY_POINTS(CERTIFY_BIND)
#undef CERTIFY_BIND
}

} // namespace maravel::certify
