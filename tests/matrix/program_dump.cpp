// Prints what the program layers say about a file, a fact a line with tabs between, for comparison with other readers.
//
//   program_dump FILE ALIGNMENT STACK_POINTER_COLUMN
//   program_dump FILE ALIGNMENT STACK_POINTER_COLUMN EXPRESSION...
//
// With expressions only their values are printed, out of the data of the file: "value", expression, integer or empty.
//
//   func    DIE offset, name, [ranges low-high], file, line        a function; offset "elf" for one known by symbol only
//   global  DIE offset, qualified name, address, size, file, line
//   type    DIE offset, qualified name, size
//   member  offset of the type, offset, name, location, size, bit offset, bit size
//   line    address, file, line                                    one place of an address
//   back    file, line, [addresses]                                the other way round
//   local   offset of the function, DIE offset, name, size, low, high, location
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/symbols/locexpr.h"
#include "program/tables/prog.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QSet>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

QByteArray Hex(U64 Value)
{
    return QByteArray::number(qulonglong(Value), 16);
}

QByteArray Id(ELF_SYM_HANDLE h)
{
    return ELF_SymIsElf(h) ? QByteArray("elf") : Hex(ELF_GetSymId(h));
}

void Print(const QByteArrayList& asField)
{
    std::printf("%s\n", asField.join('\t').constData());
}

QByteArray File(const CSrcLoc& Loc)
{
    return Loc.IsValid() ? PROG_GetOrigFilePath(Loc.File).toUtf8() : QByteArray();
}

QByteArray Part(U32 Type, U64 Addr, U32 Reg, I32 Offset, U64 Value)
{
    const QByteArray sOffset = QByteArray::number(Offset), sReg = QByteArray::number(Reg);
    switch (Type) {
    case ELF_LOC_NONE: return "none";
    case ELF_LOC_CONST: return "const " + QByteArray::number(I64(Value));
    case ELF_LOC_MEM_FIXED: return "mem " + Hex(Addr);
    case ELF_LOC_REG: return "reg " + sReg;
    case ELF_LOC_REG_OFFSET: return "reg " + sReg + " + " + sOffset;
    case ELF_LOC_MEM_REG_OFFSET: return "mem reg " + sReg + " + " + sOffset;
    case ELF_LOC_MEM_FB_OFFSET: return "mem fb + " + sOffset;
    case ELF_LOC_MEM_CFA_OFFSET: return "mem cfa + " + sOffset;
    case ELF_LOC_CFA_OFFSET: return "cfa + " + sOffset;
    case ELF_LOC_PARENT_LOC: return "parent + " + sOffset;
    default: return "type " + QByteArray::number(Type);
    }
}

QByteArray Location(const ELF_SYM_LOC& Loc)
{
    QByteArrayList asPart;
    for (U32 i = 0; i < Loc.NumParts; i++) {
        const ELF_SYM_LOC_PART& P = Loc.aPart[i];
        QByteArray s;
        if (ELF_IsExpression(Loc))
            s = "expression";
        else if (P.Type == ELF_LOC_ENTRY_VALUE || P.Type == ELF_LOC_COMPUTED)
            s = (P.Type == ELF_LOC_COMPUTED ? "value " : "entry ") + Part(P.NestedType, P.NestedAddr, P.NestedReg, P.NestedOffset, P.Value);
        else if (P.Type == ELF_LOC_MEM_REG_OFFSET)
            s = Part(P.Type, P.Addr, P.NestedReg, P.NestedOffset, P.Value);
        else
            s = Part(P.Type, P.Addr, P.Reg, P.Offset, P.Value);
        if (P.Size) s += " piece " + QByteArray::number(P.Size);
        asPart.append(s);
    }
    return asPart.isEmpty() ? QByteArray("none") : asPart.join(", ");
}

void PrintFunctions()
{
    for (const ELF_SYM_HANDLE h : PROG_GetFunctions()) {
        QByteArrayList asRange;
        for (const CAddrRange& Range : PROG_GetSymRanges(h)) asRange.append(Hex(Range.Start) + "-" + Hex(Range.End()));
        const CSrcLoc Loc = PROG_GetSymSrcLoc(h);
        Print({"func", Id(h), PROG_GetSymName(h, PROG_NAME_PLAIN).toUtf8(), asRange.join(' '), File(Loc), QByteArray::number(Loc.Line)});
    }
}

void PrintGlobals()
{
    for (const ELF_SYM_HANDLE h : PROG_GetGlobals()) {
        const CSrcLoc Loc = PROG_GetSymSrcLoc(h);
        Print({"global", Id(h), PROG_GetSymName(h, PROG_NAME_QUALIFIED).toUtf8(), Hex(U64(PROG_GetSymAddr(h)) & 0xFFFFFFFFu),
               QByteArray::number(PROG_GetSymSize(h)), File(Loc), QByteArray::number(Loc.Line)});
    }
}

void PrintTypes()
{
    const CProgLock Lock;
    for (const ELF_SYM_HANDLE h : PROG_GetTypes()) {
        Print({"type", Id(h), PROG_GetSymName(h, PROG_NAME_QUALIFIED).toUtf8(), QByteArray::number(PROG_GetSymSize(h))});
        for (U32 i = 0; i < ELF_GetSymMemberCount(h); i++) {
            const ELF_SYM_HANDLE hMember = ELF_GetSymMember(h, i);
            if (ELF_GetSymTag(hMember) != ELF_TAG_MEMBER) continue;
            Print({"member", Id(h), Id(hMember), PROG_GetSymName(hMember, PROG_NAME_PLAIN).toUtf8(), Location(ELF_GetSymLoc(hMember, 0)),
                   QByteArray::number(PROG_GetSymSize(hMember)), QByteArray::number(ELF_GetSymBitOffset(hMember)),
                   QByteArray::number(ELF_GetSymBitSize(hMember))});
        }
    }
}

void PrintLines()
{
    QSet<CSrcLoc> Seen;
    for (I64 Addr = PROG_GetNextMappedAddr(0); Addr >= 0; Addr = PROG_GetNextMappedAddr(U32(Addr))) {
        for (const CSrcLoc& Loc : PROG_GetSrcLocs(U32(Addr))) {
            Print({"line", Hex(U64(Addr)), File(Loc), QByteArray::number(Loc.Line)});
            const CSrcLoc Place(Loc.File, Loc.Line);
            if (Seen.contains(Place)) continue;
            Seen.insert(Place);
            QByteArrayList asAddr;
            for (const U32 Back : PROG_GetAddrs(Place)) asAddr.append(Hex(Back));
            Print({"back", File(Loc), QByteArray::number(Loc.Line), asAddr.join(' ')});
        }
    }
}

void PrintLocalsOf(ELF_SYM_HANDLE hFunc, U32 Step)
{
    for (U32 i = 0; i < ELF_GetSymLocalCount(hFunc); i++) {
        const ELF_SYM_HANDLE h = ELF_GetSymLocal(hFunc, i);
        for (const CAddrRange& Range : PROG_GetSymRanges(hFunc)) {
            QByteArray sRun;
            U64 RunStart = Range.Start;
            for (U64 PC = Range.Start; PC <= Range.End(); PC += Step) {
                const QByteArray sAt = PC < Range.End() ? Location(ELF_GetSymLoc(h, U32(PC))) : QByteArray();
                if (PC != Range.Start && sAt == sRun) continue;
                if (PC != Range.Start)
                    Print({"local", Id(hFunc), Id(h), ELF_GetSymName(h), QByteArray::number(ELF_GetSymSize(h)), Hex(RunStart), Hex(PC), sRun});
                sRun = sAt;
                RunStart = PC;
            }
        }
    }
}

void PrintLocals(U32 Step)
{
    const CProgLock Lock;
    QSet<ELF_SYM_HANDLE> Seen;
    for (const ELF_SYM_HANDLE h : PROG_GetFunctions()) {
        QList<ELF_SYM_HANDLE> ahFunc{h};
        // Inlined copies inside, at any depth, have locals of their own.
        for (qsizetype i = 0; i < ahFunc.size(); i++) {
            if (ELF_SymIsElf(ahFunc[i]) || Seen.contains(ahFunc[i])) continue;
            Seen.insert(ahFunc[i]);
            PrintLocalsOf(ahFunc[i], Step);
            QList<ELF_SYM_HANDLE> ahScope{ahFunc[i]};
            while (!ahScope.isEmpty()) {
                const ELF_SYM_HANDLE hScope = ahScope.takeLast();
                ahFunc.append(ELF_GetSymChildren(hScope, ELF_TAG_INLINED_SUBROUTINE));
                ahScope.append(ELF_GetSymChildren(hScope, ELF_TAG_LEXICAL_BLOCK));
            }
        }
    }
}

int ReadBytes(U32 Addr, U32 nBytes, U8* paData)
{
    return PROG_ReadBytes(Addr, nBytes, paData) == int(nBytes) ? 0 : -1;
}

void PrintValues(char** asExpression, int Count)
{
    EVAL_HOOKS Hooks;
    Hooks.IsConnected = [] { return true; };
    Hooks.GetFramePC = [] { return 0xFFFFFFFFu; };
    Hooks.ResolveLoc = [](const ELF_SYM_LOC& Loc) { return Loc; };
    Hooks.ReadMem = ReadBytes;
    Hooks.ReadLoc = [](const ELF_SYM_LOC& Loc, U32 nBytes, U8* paData) {
        if (Loc.NumParts != 1 || Loc.aPart[0].Type != ELF_LOC_MEM_FIXED || ReadBytes(Loc.aPart[0].Addr, nBytes, paData) < 0) return -1;
        if (PROG_GetByteOrder() == ELF_BIG_ENDIAN) std::reverse(paData, paData + nBytes);
        return 0;
    };
    EVAL_SetHooks(Hooks);
    for (int i = 0; i < Count; i++) {
        I64 Value = 0;
        const bool IsGood = EVAL_GetInteger(QString::fromUtf8(asExpression[i]), &Value);
        Print({"value", asExpression[i], IsGood ? QByteArray::number(qlonglong(Value)) : QByteArray()});
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication App(argc, argv);
    if (argc < 4) {
        std::fprintf(stderr, "usage: program_dump FILE ALIGNMENT STACK_POINTER_COLUMN [EXPRESSION...]\n");
        return 2;
    }
    const U32 Alignment = U32(std::atoi(argv[2])), StackPointer = U32(std::atoi(argv[3]));
    PROG_HOOKS Hooks;
    Hooks.BindCore = [=](ELF_HANDLE) {
        ELF_SetCoreParameters(Alignment, StackPointer);
        return 0;
    };
    PROG_SetHooks(Hooks);
    if (PROG_Load(QString::fromLocal8Bit(argv[1])) < 0) {
        std::fprintf(stderr, "program_dump: can't open %s\n", argv[1]);
        return 1;
    }
    if (argc > 4) {
        PrintValues(argv + 4, argc - 4);
    } else {
        PrintFunctions();
        PrintGlobals();
        PrintTypes();
        PrintLines();
        PrintLocals(Alignment);
    }
    PROG_Unload();
    return 0;
}
