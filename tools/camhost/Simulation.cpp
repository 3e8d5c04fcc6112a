#include "Simulation.h"

#include "Failure.h"
#include "System.h"
#include "host/Module.h"
#include "host/Utf8Path.h"

#include <cstdint>
#include <system_error>

namespace maravel::camhost {
namespace {

// SimPlanFaults of backends/simulated/SimulationControl.h.
using PlanFunction = std::int32_t (*)(const char* text, char* error, std::uint32_t size);

} // namespace

void SimulateFaults(const std::string& faults)
{
    std::error_code error;
    const auto path =
        std::filesystem::absolute(host::PathOf(Variable("ZORVIK_HOME")) / "bin" / "ZvkC.dll", error);
    std::string reason;
    void* module = host::LoadModule(path, &reason);
    if (module == nullptr) {
        throw Failure(ExitNotLoaded, host::TextOf(path) + " cannot be loaded: " + reason);
    }
    const auto plan = reinterpret_cast<PlanFunction>(host::FindFunction(module, "SimPlanFaults"));
    if (plan == nullptr) {
        throw Failure(ExitWrongArguments,
                      "--simulate needs the simulated SDK; " + host::TextOf(path) + " is another one");
    }
    char text[256] = "";
    if (plan(faults.c_str(), text, sizeof(text)) != 0) {
        throw Failure(ExitWrongArguments, "--simulate: " + std::string(text));
    }
}

} // namespace maravel::camhost
