#include "ModuleLife.h"

namespace maravel::backend {

bool ProcessIsEnding()
{
    return false;
}

} // namespace maravel::backend
