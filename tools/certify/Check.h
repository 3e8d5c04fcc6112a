// What a check of the conformance run is, and the few words that its body is written in.
//
// A body calls the SDK or the adapter and states what it relies on. It ends early by throwing: CERTIFY_...
// when that does not hold, Skip and NotSupported when it cannot be asked. Titles, reasons and remedies stand
// in docs/certify.md under the check's identifier.
#pragma once

#include "sdk/ZvkTypes.h"

#include <cstdint>
#include <exception>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace maravel::certify {

class Session;

// How far the session has come when a body begins.
enum class Stage : std::uint8_t
{
    Folder,  // nothing is loaded
    Loaded,  // both libraries are bound, the SDK is not started
    Started, // ZvkStartup succeeded, no camera is open
    Opened,  // the camera is open, stopped, in free run
    Adapter  // the adapter is loaded and has handed out all channels; the SDK is its own
};

// Whether a body changes anything on the camera: those are left out of a read-only run.
enum class Effect : std::uint8_t
{
    Reads,
    Writes
};

struct Check
{
    const char* id; // group and number, such as "C3"
    Stage stage;
    Effect effect;
    void (*body)(Session& session);
};

struct Group
{
    char letter;
    std::span<const Check> checks;
};

enum class Outcome : std::uint8_t
{
    Ok,
    NotSupported, // verified to be absent
    Warning,
    Failed,
    Skipped
};

// What a check came to.
struct Result
{
    std::string id;
    Outcome outcome = Outcome::Ok;
    std::string
        text; // the failed expression, the reason of a skip, or what was measured; may be several lines
    double seconds = 0;
};

// Ends a body: it does not hold.
struct Failed
{
    std::string text;
};

// Ends a body: it cannot be asked here.
struct Skip
{
    std::string reason;
};

// Ends a body: the SDK or the camera does not have it, and says so properly.
struct NotSupported
{
    std::string what;
};

// In a strict run a refusal must have exactly the documented result code; otherwise any error will do.
void BeStrict(bool strict);

// "ZvkErrorNotFound (-3)"
std::string NameOf(ZvkError_t result);

[[noreturn]] void Fail(const std::string& text, const char* file, int line);
void ExpectOk(ZvkError_t result, const char* call, const char* file, int line);
void ExpectRefused(ZvkError_t result, ZvkError_t code, const char* call, const char* file, int line);

// The failures of a check that asks the same of many things; the body goes on with the next one.
class Findings
{
public:
    // Runs `body` for one thing; its failure is kept under the thing's name.
    template <class Body>
    void About(const std::string& name, const Body& body)
    {
        ++asked_;
        try {
            body();
        }
        catch (const Failed& failed) {
            Add(name, failed.text);
        }
    }
    void Add(const std::string& name, const std::string& text);

    std::size_t Asked() const { return asked_; }
    // Throws Failed with the first failures and the number of all; NotSupported(`none`) when nothing was
    // asked.
    void Judge(const char* none = "there is none to ask") const;

private:
    std::vector<std::string> failures_;
    std::size_t asked_ = 0;
};

template <class T>
std::string Shown(const T& value)
{
    std::ostringstream text;
    text << value;
    return text.str();
}

template <class A, class B>
void ExpectEqual(const A& got, const B& wanted, const char* what, const char* file, int line)
{
    if (!(got == wanted)) {
        Fail(std::string(what) + " is " + Shown(got) + ", expected " + Shown(wanted), file, line);
    }
}

} // namespace maravel::certify

// The call succeeds.
#define CERTIFY_OK(call) ::maravel::certify::ExpectOk((call), #call, __FILE__, __LINE__)
// The call fails; in a strict run with this code.
#define CERTIFY_REFUSED(call, code)                                                                          \
    ::maravel::certify::ExpectRefused((call), (code), #call, __FILE__, __LINE__)
#define CERTIFY_EQUAL(got, wanted) ::maravel::certify::ExpectEqual((got), (wanted), #got, __FILE__, __LINE__)
// The condition holds; `message` is what a stream takes: CERTIFY(n > 0, "found " << n).
#define CERTIFY(condition, message)                                                                          \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::ostringstream certifyText;                                                                  \
            certifyText << message;                                                                          \
            ::maravel::certify::Fail(certifyText.str() + " (" #condition " does not hold)", __FILE__,        \
                                     __LINE__);                                                              \
        }                                                                                                    \
    } while (false)
