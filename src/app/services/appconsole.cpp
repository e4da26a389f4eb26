#include "app/services/appconsole.h"

#include "app/services/mainthread.h"

#include <cstdio>
#include <initializer_list>

CAppConsole& CAppConsole::Get()
{
    AssertMainThread("CAppConsole");
    static CAppConsole Instance;
    return Instance;
}

void CAppConsole::Attach()
{
    for (std::FILE* pStream : {stdin, stdout, stderr}) std::setvbuf(pStream, nullptr, _IONBF, 0);
}
