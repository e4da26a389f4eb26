// libFuzzer target: any bytes as a program file. Loads it and asks all kinds of questions.
#include "askprogram.h"

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    AskProgram(CMemFile(pData, Size).Path());
    return 0;
}
