// The exported side of a library that serves one of the SDK's entry-point lists. In one source file:
//
//     struct Served { ZVK_RUNTIME_ENTRY_POINTS(MARAVEL_ENTRY_MEMBER) };    // usually in a header
//     MARAVEL_SERVE_ENTRY_POINTS(ZVK_RUNTIME_ENTRY_POINTS, Served, CallRingSize)
//
// declares the implementations as static members, so that a wrong signature does not compile, and defines the
// exported functions. Each records its call, fails it when told to, or forwards it to a replacement or to the
// implementation. The control of that is `CallControl& EntryPointCalls()` and `void* OriginalEntry(index)`.
#pragma once

#include "CallControl.h"
#include "EntryArguments.h"
#include "ModuleLife.h"
#include "platform/Compiler.h"

#include <cstring>
#include <new>
#include <type_traits>

namespace maravel::backend {

// A number of bytes, not a text: recorded as an address.
struct Bytes
{
    const char* data;
    operator const char*() const { return data; }
};

// Fills the record of a call from its arguments, in order. Outputs and functions are left out.
class ArgumentList
{
public:
    template <typename T>
    void Add(const T& value)
    {
        if constexpr (std::is_same_v<T, Bytes>) {
            AddPointer(value.data);
        }
        else if constexpr (std::is_floating_point_v<T>) {
            if (CallArgument* argument = Next(CallArgument::Kind::Real)) {
                argument->real = static_cast<double>(value);
            }
        }
        else if constexpr (std::is_integral_v<T>) {
            if (CallArgument* argument = Next(CallArgument::Kind::Integer)) {
                argument->integer = static_cast<std::int64_t>(value);
            }
        }
        else if constexpr (std::is_same_v<T, const char*>) {
            AddText(value);
        }
        else if constexpr (std::is_same_v<T, ZvkHandle_t>) {
            if (CallArgument* argument = Next(CallArgument::Kind::Handle)) {
                argument->pointer = value;
            }
        }
        else if constexpr (std::is_pointer_v<T> && std::is_const_v<std::remove_pointer_t<T>>) {
            AddPointer(value);
        }
    }

    const CallArgument* Data() const { return arguments_; }
    std::size_t Count() const { return count_; }

private:
    CallArgument* Next(CallArgument::Kind kind)
    {
        if (count_ == std::size(arguments_)) {
            return nullptr;
        }
        arguments_[count_].kind = kind;
        return &arguments_[count_++];
    }

    void AddPointer(const void* value)
    {
        if (CallArgument* argument = Next(CallArgument::Kind::Pointer)) {
            argument->pointer = value;
        }
    }

    void AddText(const char* value)
    {
        CallArgument* argument = Next(CallArgument::Kind::Text);
        if (argument == nullptr) {
            return;
        }
        const char* text = value == nullptr ? "null" : value;
        std::size_t length = 0;
        while (length + 1 < sizeof(argument->text) && text[length] != '\0') {
            ++length;
        }
        std::memcpy(argument->text, text, length);
        argument->text[length] = '\0';
    }

    CallArgument arguments_[4];
    std::size_t count_ = 0;
};

// One call on its way from the exported function to whatever answers it.
template <typename Result, typename... Parameters>
class Dispatcher
{
public:
    using Function = Result (*)(Parameters...);

    Dispatcher(CallControl& calls, std::size_t entry, Function implementation)
        : calls_(calls), entry_(entry), implementation_(implementation)
    {
    }

    template <typename... Arguments>
    Result operator()(const Arguments&... arguments) const noexcept
    {
        if constexpr (std::is_void_v<Result>) {
            if (!ProcessIsEnding()) {
                Forward(arguments...);
                Record(ZvkErrorSuccess, arguments...);
            }
        }
        else {
            if (ProcessIsEnding()) {
                return ZvkErrorApiNotStarted;
            }
            ZvkError_t result = ZvkErrorSuccess;
            if (!calls_.TakeFault(entry_, &result)) {
                result = Forward(arguments...);
            }
            Record(result, arguments...);
            return result;
        }
    }

private:
    // Nothing is thrown across the library's boundary.
    template <typename... Arguments>
    Result Forward(const Arguments&... arguments) const noexcept
    {
        try {
            if (void* replacement = calls_.Replacement(entry_)) {
                return reinterpret_cast<Function>(replacement)(arguments...);
            }
            return implementation_(arguments...);
        }
        catch (const std::bad_alloc&) {
            if constexpr (!std::is_void_v<Result>) {
                return ZvkErrorResources;
            }
        }
        catch (...) {
            if constexpr (!std::is_void_v<Result>) {
                return ZvkErrorInternalFault;
            }
        }
    }

    template <typename... Arguments>
    void Record(ZvkError_t result, const Arguments&... arguments) const
    {
        ArgumentList list;
        (list.Add(arguments), ...);
        calls_.Record(entry_, list.Data(), list.Count(), result);
    }

    CallControl& calls_;
    std::size_t entry_;
    Function implementation_;
};

// How many calls a library's record keeps where tests read it.
inline constexpr std::size_t CallRingSize = 10000;

} // namespace maravel::backend

#define MARAVEL_ENTRY_MEMBER(result, name, parameters) static result name parameters;
#define MARAVEL_ENTRY_INDEX(result, name, parameters) name,
#define MARAVEL_ENTRY_DESCRIPTION(result, name, parameters) {#name, !std::is_void_v<result>},
#define MARAVEL_ENTRY_ADDRESS(result, name, parameters) reinterpret_cast<void*>(&ServedEntryPoints::name),
#define MARAVEL_ENTRY_EXPORT(result, name, parameters)                                                       \
    extern "C" MARAVEL_EXPORT result name parameters                                                         \
    {                                                                                                        \
        return ::maravel::backend::Dispatcher(g_entryPointCalls, EntryIndexes::name,                         \
                                              &ServedEntryPoints::name) ZVK_ARGUMENTS_##name;                \
    }

#define MARAVEL_SERVE_ENTRY_POINTS(LIST, SERVED, KEPT)                                                       \
    using ServedEntryPoints = SERVED;                                                                        \
    struct EntryIndexes                                                                                      \
    {                                                                                                        \
        enum : std::size_t                                                                                   \
        {                                                                                                    \
            LIST(MARAVEL_ENTRY_INDEX) Count                                                                  \
        };                                                                                                   \
    };                                                                                                       \
    static_assert(EntryIndexes::Count <= ::maravel::backend::CallControl::MaxEntries);                       \
    static constexpr ::maravel::backend::EntryDescription g_entryPointNames[] = {                            \
        LIST(MARAVEL_ENTRY_DESCRIPTION)};                                                                    \
    static ::maravel::backend::CallRecord g_callRing[KEPT];                                                  \
    static constinit ::maravel::backend::CallControl g_entryPointCalls{                                      \
        g_entryPointNames, EntryIndexes::Count, g_callRing, std::size(g_callRing)};                          \
    LIST(MARAVEL_ENTRY_EXPORT)                                                                               \
    ::maravel::backend::CallControl& EntryPointCalls()                                                       \
    {                                                                                                        \
        return g_entryPointCalls;                                                                            \
    }                                                                                                        \
    void* OriginalEntry(std::size_t index)                                                                   \
    {                                                                                                        \
        void* const addresses[] = {LIST(MARAVEL_ENTRY_ADDRESS)};                                             \
        return index < std::size(addresses) ? addresses[index] : nullptr;                                    \
    }
