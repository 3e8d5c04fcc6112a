/* The header of host authors stays C. */
#include "maravel/VideoChannel.h"

int32_t DescriptorSizeInC(void);

int32_t DescriptorSizeInC(void)
{
    return (int32_t)sizeof(VideoChannelDescriptor);
}
