/* A program that makes requests of its host, without a C library: each as a program linked with one would make it. */
#include <stdint.h>

extern uint32_t __stack_top__;
int main(void);
void Reset_Handler(void);
__attribute__((section(".vectors"), used)) const void* const __vectors__[16] = {&__stack_top__, Reset_Handler};

enum { OPEN = 1, CLOSE, WRITEC, WRITE0, WRITE, READ, READC, ISERROR, ISTTY, SEEK, FLEN = 12, REMOVE = 14, CLOCK = 16, TIME,
       SYSTEM, ERRNO, GET_CMDLINE = 21, HEAPINFO, EXIT = 24 };

static inline int Request(int Op, const void* pParam)
{
    register int r0 __asm__("r0") = Op;
    register const void* r1 __asm__("r1") = pParam;
    __asm__ volatile("bkpt 0xab" : "+r"(r0) : "r"(r1) : "memory");
    return r0;
}

static void Print(const char* s)
{
    Request(WRITE0, s);
}

static char acText[64];

static void PrintNumber(const char* sName, int Value)
{
    uint32_t Rest = Value < 0 ? 0u - (uint32_t)Value : (uint32_t)Value;
    char* p = acText + sizeof acText;
    *--p = 0;
    *--p = '\n';
    do {
        *--p = (char)('0' + Rest % 10);
        Rest /= 10;
    } while (Rest);
    if (Value < 0) *--p = '-';
    Print(sName);
    Print(p);
}

static int Length(const char* s)
{
    int n = 0;
    while (s[n]) n++;
    return n;
}

static int Open(const char* sName, int Mode)
{
    uint32_t aParam[3] = {(uint32_t)sName, (uint32_t)Mode, (uint32_t)Length(sName)};
    return Request(OPEN, aParam);
}

static int Transfer(int Op, int Handle, const void* pData, int Size)
{
    uint32_t aParam[3] = {(uint32_t)Handle, (uint32_t)pData, (uint32_t)Size};
    return Request(Op, aParam);
}

static int Ask(int Op, int Handle, uint32_t Value)
{
    uint32_t aParam[2] = {(uint32_t)Handle, Value};
    return Request(Op, aParam);
}

volatile int NumRounds;

static void Terminal(void)
{
    const int Handle = Open(":tt", 4);
    PrintNumber(":tt is ", Handle);
    PrintNumber("bytes left over: ", Transfer(WRITE, Handle, "by handle\n", 10));
    Transfer(WRITE, 1, "by the number of the standard output\n", 37);
    PrintNumber("a terminal: ", Ask(ISTTY, Handle, 0));
    PrintNumber("its length: ", Ask(FLEN, Handle, 0));
    Request(WRITEC, "c");
    Request(WRITEC, "\n");
}

static void Files(void)
{
    char ac[16] = {0};
    PrintNumber("a missing file: ", Open("no-such-file", 0));
    const int Handle = Open("semihost.out", 6);
    PrintNumber("opened: ", Handle > 2);
    PrintNumber("bytes left over: ", Transfer(WRITE, Handle, "0123456789", 10));
    PrintNumber("length: ", Ask(FLEN, Handle, 0));
    PrintNumber("a terminal: ", Ask(ISTTY, Handle, 0));
    PrintNumber("seek: ", Ask(SEEK, Handle, 4));
    PrintNumber("bytes not read: ", Transfer(READ, Handle, ac, 8));
    Print(ac);
    Print("\n");
    PrintNumber("close: ", Ask(CLOSE, Handle, 0));
}

static void System(void)
{
    char ac[8] = "1234567";
    uint32_t aCmdLine[2] = {(uint32_t)ac, 4};
    uint32_t aHeap[4] = {1, 2, 3, 4};
    uint32_t pHeap = (uint32_t)aHeap;
    PrintNumber("command line: ", Request(GET_CMDLINE, aCmdLine));
    PrintNumber("its length, cut: ", (int)aCmdLine[1]);
    PrintNumber("its end: ", ac[3]);
    Request(HEAPINFO, &pHeap);
    PrintNumber("heap: ", (int)(aHeap[0] | aHeap[1] | aHeap[2] | aHeap[3]));
    PrintNumber("no error: ", Request(ISERROR, 0));
    /* At some time since this test was written, and not before. */
    PrintNumber("time: ", (uint32_t)Request(TIME, 0) > 1700000000u);
}

int main(void)
{
    Print("Hello from the target\n");
    Print("Gr\xC3\xBC\xC3\x9F" "e\n");
    Terminal();
    Files();
    System();
    for (NumRounds = 0; NumRounds < 100; NumRounds++) Request(ISERROR, 0);
    Request(EXIT, (const void*)0x20026);
    return 0;
}

void Refused(void)
{
    PrintNumber("remove: ", Request(REMOVE, 0));
    PrintNumber("close: ", Ask(CLOSE, -256, 0));
    PrintNumber("error number: ", Request(ERRNO, 0));
    PrintNumber("operation 11: ", Request(11, 0));
    Print((const char*)0x0007FFF0); /* erased flash up to the end of memory */
    Request(EXIT, (const void*)0x20024);
}

void Reset_Handler(void)
{
    NumRounds = 0;
    main();
    Refused();
    for (;;) {
    }
}
