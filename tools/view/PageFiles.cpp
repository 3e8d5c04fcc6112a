#include "PageFiles.h"

namespace maravel::view {

const PageFile* FindPageFile(std::string_view name)
{
    for (const PageFile& file : PageFiles()) {
        if (name == file.name) {
            return &file;
        }
    }
    return nullptr;
}

} // namespace maravel::view
