// The ELF side of a program file: header, segments, sections and the symbol array, read bounds-checked from the
// whole file in memory.
//
//   CElfImage Image;
//   if (U32 Error = Image.Load(sPath)) Report(Error);
//
// Only 32-bit executables are taken, of either byte order; the copies of all tables are in host order. Not
// thread-safe; one owner.
#pragma once
#include "app/services/types.h"
#include "program/elf/bigarray.h"

#include <memory>
#include <string>
#include <vector>

struct ELF_SEGMENT {
    U32 Type, Offset, VirtAddr, PhysAddr, FileSize, MemSize, Flags, Align;
};
struct ELF_SECTION {
    U32 NameOff, Type, Flags, Addr, Offset, Size, Link, Info, Align, EntrySize;
    const char* sName; ///< in the file image, never null
};
struct ELF_SYMBOL {
    U32 NameOff, Value, Size;
    U8 Info, Other;
    U16 Section;
    const char* sName; ///< in the file image, never null
    U32 Type() const { return Info & 0xF; }
    U32 Binding() const { return Info >> 4; }
    bool IsFunction() const { return Type() == 2 || Type() == 13; }
};

/// Bytes of a section, inflated if the file holds it compressed.
struct ELF_BYTES {
    const U8* pData = nullptr;
    U32 Size = 0;
};

/// A table of texts without what stands behind its last zero: each offset in it is that of a text that has an end.
ELF_BYTES WithWholeTexts(ELF_BYTES Table);

/// Gives back what the allocator of big arrays has given.
struct FREE_BYTES {
    FREE_BYTES() = default;
    explicit FREE_BYTES(size_t NumBytes) : Size(NumBytes) {}
    void operator()(U8* p) const { CBigAllocator<U8>().deallocate(p, Size); }
    size_t Size = 0;
};

class CElfImage {
public:
    /// Reads the file and parses its tables. 0, or the ELF_ERROR number of the first fault.
    U32 Load(const char* sPath);
    /// The same from bytes already in memory, which are copied.
    U32 LoadBytes(const U8* pData, U64 Size);

    /// The whole file, up to 4 GB.
    const U8* Data() const { return m_pImage.get(); }
    U64 Size() const { return m_Size; }
    /// What kind of ELF file it is, as a sentence; for files that Load has refused as no executable.
    void Describe(char* sText, size_t Size) const;
    bool IsBigEndian() const { return m_BigEndian; }
    U32 Class() const { return m_Class; }
    U32 Machine() const { return m_Machine; }
    U32 Flags() const { return m_Flags; }
    U32 Entry() const { return m_Entry; }
    const std::vector<ELF_SEGMENT>& Segments() const { return m_Segments; }
    const std::vector<ELF_SECTION>& Sections() const { return m_Sections; }
    const std::vector<ELF_SYMBOL>& Symbols() const { return m_Symbols; }
    std::vector<ELF_SYMBOL>& Symbols() { return m_Symbols; }

    int FindSection(const char* sName) const;
    /// Raw bytes in the file; no data for SHT_NOBITS or if the section isn't wholly inside the file.
    ELF_BYTES SectionBytes(U32 Index) const;
    /// Bytes by name, inflated on first use; no data if there is no such section or it is damaged.
    ELF_BYTES DebugBytes(const char* sName);
    /// Compressed sections that DebugBytes could not inflate.
    const std::vector<std::string>& BadSections() const { return m_asBadSection; }
    /// Symbols that count as unnamed because their names are longer than any, or share their texts with too many others.
    U32 NumLostNames() const { return m_NumLostNames; }

private:
    U32 _Parse();
    U32 _ParseHeader();
    bool _ParseSegments();
    bool _ParseSections();
    bool _ParseSymbols();
    ELF_BYTES _Inflate(ELF_BYTES Packed, U64 UnpackedSize, const std::string& sKey);

    U64 m_aNumInflated[3] = {}; ///< bytes, by the kind of section that shares a limit
    std::vector<std::string> m_asBadSection;
    U32 m_NumLostNames = 0;
    void _Allocate(U64 Size);
    std::unique_ptr<U8[], FREE_BYTES> m_pImage;
    U64 m_Size = 0;
    bool m_BigEndian = false;
    U32 m_Class = 0, m_Type = 0, m_Machine = 0, m_Flags = 0, m_Entry = 0;
    U32 m_PhOff = 0, m_ShOff = 0, m_PhEntSize = 0, m_PhNum = 0, m_ShEntSize = 0, m_ShNum = 0, m_ShStrNdx = 0;
    std::vector<ELF_SEGMENT> m_Segments;
    std::vector<ELF_SECTION> m_Sections;
    std::vector<ELF_SYMBOL> m_Symbols;
    struct INFLATED {
        std::string sName;
        std::unique_ptr<U8[]> pData;
        U32 Size;
    };
    std::vector<INFLATED> m_Inflated;
};
