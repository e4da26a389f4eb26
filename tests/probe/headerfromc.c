// The interface header is for C as well: this file compiles it as such and calls through it.
#include "platform/probe/bryllo.h"

int HeaderFromC(void)
{
    return (int)(BRYLLOARM_GetDLLVersion() != 0) + (int)sizeof(BRYLLOARM_DEVICE_INFO);
}
