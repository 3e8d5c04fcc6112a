// Any registry text: it is read, and what it holds is listed into the log.
#include "diag/EnvironmentProbes.h"
#include "diag/Log.h"
#include "platform/posix/RegistryFile.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

std::string MakeRoot()
{
    std::string name = (std::filesystem::temp_directory_path() / "maravel-fuzz-XXXXXX").string();
    const std::string root = mkdtemp(name.data());
    setenv("MARAVEL_PLATFORM_ROOT", root.c_str(), 1);
    return root;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string root = MakeRoot();
    const std::string text(reinterpret_cast<const char*>(data), size);
    maravel::posix::ParseRegistryText(text);
    std::ofstream(root + "/registry.reg", std::ios::binary) << text;
    maravel::InitLog();
    maravel::listAdapters();
    maravel::CloseLog();
    return 0;
}
