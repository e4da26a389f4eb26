// Reading of the ELF tables. Every offset and count of the file is tested against the file's size before use.
#include "program/elf/elfimage.h"
#include "program/elf/bytecursor.h"
#include "program/elf/elf.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <elf.h>
#include <new>
#include <sys/stat.h>
#include <zlib.h>

namespace {

constexpr U32 PROGRAM_HEADER_SIZE = 32;
constexpr U32 SECTION_HEADER_SIZE = 40;
constexpr U32 SYMBOL_SIZE = 16;
/// What all sections of a kind may unfold to, in sizes of the file. One section alone shrinks to a twentieth in sound
/// files (abbreviations, lines of small programs), all together to a quarter. Deflate can make a thousandth of what is
/// always the same; a file of a megabyte that unfolds to a gigabyte is made to do harm.
constexpr U64 MAX_INFLATE_FREE = 64 * 1024;
struct INFLATE_LIMIT {
    const char* sName; ///< of a section; the last row is for all others
    U32 Kind;
    U64 Ratio;
};
constexpr INFLATE_LIMIT INFLATE_LIMITS[] = {{".debug_str", 0, 64}, {".debug_line_str", 0, 64}, {".debug_line", 1, 8}, {"", 2, 16}};
/// Tables of symbols and loaded segments lie side by side in a sound file, or share a few headers. Where they overlap
/// more, each would be read as often as there are headers that name it.
constexpr U64 MAX_OVERLAP = 2;
/// Length of a symbol's name, and bytes of the file for each character of all names together: in a sound file two names
/// share a text at most where one is the end of the other.
constexpr U64 MAX_NAME = 32 * 1024, MAX_NAMES_RATIO = 8;

/// Text at an offset of a string table that ends with a zero, the empty text if it isn't inside.
const char* TextAt(ELF_BYTES Table, U32 Offset)
{
    return Offset < Table.Size ? reinterpret_cast<const char*>(Table.pData + Offset) : "";
}

} // namespace

ELF_BYTES WithWholeTexts(ELF_BYTES Table)
{
    while (Table.Size && Table.pData[Table.Size - 1] != 0) Table.Size--;
    return Table;
}

U32 CElfImage::Load(const char* sPath)
{
    struct stat Info;
    if (!sPath || stat(sPath, &Info) != 0 || !S_ISREG(Info.st_mode)) return ELF_ERR_OPEN;
    FILE* pFile = std::fopen(sPath, "rb");
    if (!pFile) return ELF_ERR_OPEN;
    U32 Error = 0;
    char acMagic[SELFMAG] = {};
    if (Info.st_size <= 0 || Info.st_size > 0xFFFFFFFFll) {
        Error = ELF_ERR_FILE_SIZE;
    } else if (std::fread(acMagic, 1, SELFMAG, pFile) == SELFMAG && std::memcmp(acMagic, ELFMAG, SELFMAG) != 0) {
        Error = ELF_ERR_MAGIC; // before what may be gigabytes is read
    } else {
        try {
            _Allocate(static_cast<U64>(Info.st_size));
            std::rewind(pFile);
            if (std::fread(m_pImage.get(), 1, m_Size, pFile) != m_Size) Error = ELF_ERR_READ;
        } catch (const std::bad_alloc&) {
            Error = ELF_ERR_MEMORY;
        }
    }
    std::fclose(pFile);
    return Error ? Error : _Parse();
}

void CElfImage::_Allocate(U64 Size)
{
    m_pImage = std::unique_ptr<U8[], FREE_BYTES>(CBigAllocator<U8>().allocate(Size), FREE_BYTES(Size));
    m_Size = Size;
}

U32 CElfImage::LoadBytes(const U8* pData, U64 Size)
{
    if (Size == 0 || Size > 0xFFFFFFFFull) return ELF_ERR_FILE_SIZE;
    _Allocate(Size);
    std::memcpy(m_pImage.get(), pData, Size);
    return _Parse();
}

U32 CElfImage::_Parse()
{
    if (const U32 Error = _ParseHeader()) return Error;
    return _ParseSegments() && _ParseSections() && _ParseSymbols() ? 0 : ELF_ERR_READ;
}

U32 CElfImage::_ParseHeader()
{
    const U8* p = m_pImage.get();
    if (m_Size < SELFMAG || std::memcmp(p, ELFMAG, SELFMAG) != 0) return ELF_ERR_MAGIC;
    if (m_Size < sizeof(Elf32_Ehdr)) return ELF_ERR_READ;
    m_Class = p[EI_CLASS];
    m_BigEndian = p[EI_DATA] == ELFDATA2MSB;
    CByteCursor Cur(p, m_Size, m_BigEndian, EI_NIDENT);
    // The type lies at the same place in both classes, so that a 64-bit file is judged by it as well.
    m_Type = Cur.GetU16();
    m_Machine = Cur.GetU16();
    if (m_Type != ET_EXEC) return ELF_ERR_NOT_EXECUTABLE;
    if (m_Class == ELFCLASSNONE) return ELF_ERR_CLASS_NONE;
    if (p[EI_DATA] != ELFDATA2LSB && p[EI_DATA] != ELFDATA2MSB) return ELF_ERR_DATA_NONE;
    if (p[EI_VERSION] != EV_CURRENT) return ELF_ERR_HEADER_VERSION;
    if (Cur.GetU32() == EV_NONE) return ELF_ERR_FILE_VERSION;
    // Addresses have 32 bits throughout: nothing in a file of another class could be run or shown.
    if (m_Class != ELFCLASS32) return ELF_ERR_NOT_EXECUTABLE;
    m_Entry = Cur.GetU32();
    m_PhOff = Cur.GetU32();
    m_ShOff = Cur.GetU32();
    m_Flags = Cur.GetU32();
    Cur.GetU16();
    m_PhEntSize = Cur.GetU16();
    m_PhNum = Cur.GetU16();
    m_ShEntSize = Cur.GetU16();
    m_ShNum = Cur.GetU16();
    m_ShStrNdx = Cur.GetU16();
    return 0;
}

namespace {

struct MACHINE_ROW {
    U32 Machine;
    const char* sName;
};
constexpr MACHINE_ROW MACHINES[] = {
    {EM_386, "x86"},       {EM_68K, "68000"},     {EM_MIPS, "MIPS"},     {EM_PPC, "PowerPC"},   {EM_ARM, "ARM"},
    {EM_SH, "SuperH"},     {EM_SPARC, "SPARC"},   {EM_TRICORE, "TriCore"}, {EM_X86_64, "x86-64"}, {EM_AVR, "AVR"},
    {EM_V850, "V850"},     {EM_XTENSA, "Xtensa"}, {EM_MSP430, "MSP430"}, {EM_AARCH64, "AArch64"}, {EM_RX, "RX"},
    {EM_RISCV, "RISC-V"},  {EM_ARC_COMPACT, "ARC"},
};

} // namespace

const char* ELF_GetMachineName(U32 Machine)
{
    for (const MACHINE_ROW& Row : MACHINES) {
        if (Row.Machine == Machine) return Row.sName;
    }
    static thread_local char s_acName[24];
    std::snprintf(s_acName, sizeof(s_acName), "machine %u", Machine);
    return s_acName;
}

void CElfImage::Describe(char* sText, size_t Size) const
{
    const char* sKind = "ELF file of an unknown type";
    switch (m_Type) {
    case ET_NONE: sKind = "ELF file without a type"; break;
    case ET_REL: sKind = "relocatable object, which is not linked yet,"; break;
    case ET_EXEC: sKind = "program"; break;
    case ET_DYN: sKind = "shared object or position independent program"; break;
    case ET_CORE: sKind = "core dump"; break;
    default: break;
    }
    std::snprintf(sText, Size, "The file is a %u-bit %s for %s.", m_Class == ELFCLASS64 ? 64u : 32u, sKind, ELF_GetMachineName(m_Machine));
}

bool CElfImage::_ParseSegments()
{
    if (m_PhNum == 0) return true;
    const U64 End = static_cast<U64>(m_PhOff) + static_cast<U64>(m_PhNum) * m_PhEntSize;
    if (m_PhEntSize < PROGRAM_HEADER_SIZE || End > m_Size) return false;
    m_Segments.resize(m_PhNum);
    U64 Loaded = 0;
    for (U32 i = 0; i < m_PhNum; i++) {
        CByteCursor Cur(m_pImage.get(), m_Size, m_BigEndian, m_PhOff + static_cast<U64>(i) * m_PhEntSize);
        ELF_SEGMENT& Seg = m_Segments[i];
        for (U32* pField : {&Seg.Type, &Seg.Offset, &Seg.VirtAddr, &Seg.PhysAddr, &Seg.FileSize, &Seg.MemSize,
                            &Seg.Flags, &Seg.Align}) {
            *pField = Cur.GetU32();
        }
        if (Seg.Type == PT_LOAD && static_cast<U64>(Seg.Offset) + Seg.FileSize <= m_Size) Loaded += Seg.FileSize;
    }
    return Loaded <= MAX_OVERLAP * m_Size;
}

bool CElfImage::_ParseSections()
{
    if (m_ShOff == 0) return true;
    auto Read = [this](U32 Index, ELF_SECTION& Sec) {
        CByteCursor Cur(m_pImage.get(), m_Size, m_BigEndian,
                        m_ShOff + static_cast<U64>(Index) * m_ShEntSize);
        for (U32* pField : {&Sec.NameOff, &Sec.Type, &Sec.Flags, &Sec.Addr, &Sec.Offset, &Sec.Size, &Sec.Link,
                            &Sec.Info, &Sec.Align, &Sec.EntrySize}) {
            *pField = Cur.GetU32();
        }
        Sec.sName = "";
        return Cur.IsOk();
    };
    if (m_ShEntSize < SECTION_HEADER_SIZE) return m_ShNum == 0;
    // A file with more than 0xFF00 sections keeps count and name table in the first header.
    ELF_SECTION First{};
    if (!Read(0, First)) return m_ShNum == 0;
    if (m_ShNum == 0) m_ShNum = First.Size;
    if (m_ShStrNdx == SHN_XINDEX) m_ShStrNdx = First.Link;
    const U64 End = static_cast<U64>(m_ShOff) + static_cast<U64>(m_ShNum) * m_ShEntSize;
    if (End > m_Size) return false;
    m_Sections.resize(m_ShNum);
    for (U32 i = 0; i < m_ShNum; i++) Read(i, m_Sections[i]);
    if (m_ShStrNdx < m_ShNum) {
        const ELF_BYTES Names = WithWholeTexts(SectionBytes(m_ShStrNdx));
        for (ELF_SECTION& Sec : m_Sections) Sec.sName = TextAt(Names, Sec.NameOff);
    }
    return true;
}

bool CElfImage::_ParseSymbols()
{
    U64 NumBytes = 0, NumChars = 0;
    for (U32 i = 0; i < m_Sections.size(); i++) {
        const ELF_SECTION& Sec = m_Sections[i];
        if (Sec.Type != SHT_SYMTAB && Sec.Type != SHT_DYNSYM) continue;
        const ELF_BYTES Data = SectionBytes(i);
        if (Sec.EntrySize < SYMBOL_SIZE || !Data.pData) continue;
        NumBytes += Data.Size;
        if (NumBytes > MAX_OVERLAP * m_Size) return false;
        const ELF_BYTES Names = WithWholeTexts(Sec.Link < m_Sections.size() ? SectionBytes(Sec.Link) : ELF_BYTES());
        const U32 Count = Data.Size / Sec.EntrySize;
        m_Symbols.reserve(m_Symbols.size() + Count);
        for (U32 n = 0; n < Count; n++) {
            CByteCursor Cur(Data.pData, Data.Size, m_BigEndian, static_cast<U64>(n) * Sec.EntrySize);
            ELF_SYMBOL Sym{};
            Sym.NameOff = Cur.GetU32();
            Sym.Value = Cur.GetU32();
            Sym.Size = Cur.GetU32();
            Sym.Info = Cur.GetU8();
            Sym.Other = Cur.GetU8();
            Sym.Section = Cur.GetU16();
            Sym.sName = TextAt(Names, Sym.NameOff);
            const U64 Length = strnlen(Sym.sName, MAX_NAME + 1);
            if (Length > MAX_NAME || NumChars + Length > MAX_NAMES_RATIO * m_Size) {
                Sym.sName = "";
                m_NumLostNames++;
            } else {
                NumChars += Length;
            }
            m_Symbols.push_back(Sym);
        }
    }
    return true;
}

int CElfImage::FindSection(const char* sName) const
{
    for (size_t i = 0; i < m_Sections.size(); i++) {
        if (std::strcmp(m_Sections[i].sName, sName) == 0) return static_cast<int>(i);
    }
    return -1;
}

ELF_BYTES CElfImage::SectionBytes(U32 Index) const
{
    if (Index >= m_Sections.size()) return {};
    const ELF_SECTION& Sec = m_Sections[Index];
    if (Sec.Type == SHT_NOBITS || static_cast<U64>(Sec.Offset) + Sec.Size > m_Size) return {};
    return {m_pImage.get() + Sec.Offset, Sec.Size};
}

ELF_BYTES CElfImage::DebugBytes(const char* sName)
{
    for (const INFLATED& Done : m_Inflated) {
        if (Done.sName == sName) return {Done.pData.get(), Done.Size};
    }
    int Index = FindSection(sName);
    if (Index >= 0) {
        const ELF_BYTES Raw = SectionBytes(static_cast<U32>(Index));
        if (!(m_Sections[Index].Flags & SHF_COMPRESSED)) return Raw;
        CByteCursor Cur(Raw.pData, Raw.Size, m_BigEndian);
        const U32 Type = Cur.GetU32();
        const U32 Size = Cur.GetU32();
        Cur.GetU32();
        if (!Cur.IsOk() || Type != ELFCOMPRESS_ZLIB) return _Inflate({}, 0, sName);
        return _Inflate({Cur.Ptr(), static_cast<U32>(Cur.Remaining())}, Size, sName);
    }
    // The older form of compression: a section of its own name, "ZLIB" and the size in big endian.
    if (std::strncmp(sName, ".debug", 6) != 0) return {};
    Index = FindSection((std::string(".z") + (sName + 1)).c_str());
    if (Index < 0) return {};
    const ELF_BYTES Raw = SectionBytes(static_cast<U32>(Index));
    if (Raw.Size < 12 || std::memcmp(Raw.pData, "ZLIB", 4) != 0) return {};
    CByteCursor Cur(Raw.pData, Raw.Size, true, 4);
    const U64 Size = Cur.GetU64();
    return _Inflate({Cur.Ptr(), Raw.Size - 12}, Size, sName);
}

ELF_BYTES CElfImage::_Inflate(ELF_BYTES Packed, U64 UnpackedSize, const std::string& sKey)
{
    INFLATED Out{sKey, nullptr, 0};
    const INFLATE_LIMIT* pLimit = INFLATE_LIMITS;
    while (*pLimit->sName && sKey != pLimit->sName) pLimit++;
    U64& Total = m_aNumInflated[pLimit->Kind];
    if (UnpackedSize > 0 && UnpackedSize <= 0x7FFFFFFFu && Total + UnpackedSize <= pLimit->Ratio * m_Size + MAX_INFLATE_FREE) {
        std::unique_ptr<U8[]> pData(new (std::nothrow) U8[UnpackedSize]);
        uLongf Size = static_cast<uLongf>(UnpackedSize);
        if (pData && uncompress(pData.get(), &Size, Packed.pData, Packed.Size) == Z_OK && Size == UnpackedSize) {
            Out.pData = std::move(pData);
            Out.Size = static_cast<U32>(UnpackedSize);
            Total += UnpackedSize;
        }
    }
    if (!Out.pData) m_asBadSection.push_back(sKey);
    // A failure is kept as well, so that a damaged section isn't inflated again at each question.
    m_Inflated.push_back(std::move(Out));
    return {m_Inflated.back().pData.get(), m_Inflated.back().Size};
}
