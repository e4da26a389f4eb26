// Macro definitions out of .debug_macro and .debug_macinfo.
#include "program/elf/elffile.h"

#include <libdwarf/dwarf.h>
#include <unordered_set>

namespace {

constexpr U32 FLAGS_INTERNAL = 28; ///< error to standard output and the log file
/// Far above any program; a damaged section can't fill the memory.
constexpr size_t MAX_MACROS = 2000000;
/// How often the bytes of a section may be read in all, by parts that overlap in a damaged one.
constexpr U64 MAX_PASSES = 2;

class CMacroReader {
public:
    CMacroReader(const DWARF_SECTIONS& Sec, std::vector<ELF_MACRO>& aMacro)
        : m_Sec(Sec), m_aMacro(aMacro)
    {
    }
    bool ReadMacinfo(U64 Offset);
    bool ReadMacro(U64 Offset, const DWARF_UNIT& Unit);

private:
    void _Define(U64 Line, const char* sText)
    {
        if (m_aMacro.size() < MAX_MACROS) m_aMacro.push_back({static_cast<U32>(Line), sText});
    }
    /// Not DwarfTextAt: the text of a macro may be longer than a name, and its end isn't looked for here.
    const char* _Text(const ELF_BYTES& Section, U64 Offset)
    {
        return Offset < Section.Size ? reinterpret_cast<const char*>(Section.pData + Offset) : "";
    }
    const char* _IndexedText(const DWARF_UNIT& Unit, U64 Index)
    {
        CByteCursor Cur(m_Sec.StrOffsets.pData, m_Sec.StrOffsets.Size, m_Sec.BigEndian, Unit.StrOffsetsBase);
        if (Index > m_Sec.StrOffsets.Size) return "";
        Cur.Skip(Index * Unit.OffsetSize);
        const U64 Offset = Cur.GetUnsigned(Unit.OffsetSize);
        return Cur.IsOk() ? _Text(m_Sec.Str, Offset) : "";
    }

    /// Notes what was read from a place on; false when it is too much for a sound file.
    bool _CountBytes(U64 Count) { return (m_NumBytes += Count) <= MAX_PASSES * (static_cast<U64>(m_Sec.Macro.Size) + m_Sec.Macinfo.Size); }

    const DWARF_SECTIONS& m_Sec;
    std::vector<ELF_MACRO>& m_aMacro;
    U64 m_NumBytes = 0;
    std::unordered_set<U64> m_Done; ///< parts already read: they are imported by many units
};

bool CMacroReader::ReadMacinfo(U64 Offset)
{
    CByteCursor Cur(m_Sec.Macinfo.pData, m_Sec.Macinfo.Size, m_Sec.BigEndian, Offset);
    if (!_CountBytes(0)) return false;
    while (Cur.IsOk() && m_aMacro.size() < MAX_MACROS) {
        const U32 Op = Cur.GetU8();
        if (Op == 0) break;
        switch (Op) {
        case DW_MACINFO_define: {
            const U64 Line = Cur.GetULeb();
            const char* sText = Cur.GetText();
            if (Cur.IsOk()) _Define(Line, sText);
            break;
        }
        case DW_MACINFO_undef:
        case DW_MACINFO_vendor_ext:
            Cur.SkipLeb();
            Cur.GetText();
            break;
        case DW_MACINFO_start_file:
            Cur.SkipLeb();
            Cur.SkipLeb();
            break;
        case DW_MACINFO_end_file: break;
        default: return false;
        }
    }
    _CountBytes(Cur.Pos() - Offset);
    return Cur.IsOk();
}

bool CMacroReader::ReadMacro(U64 Start, const DWARF_UNIT& Unit)
{
    // Imports are followed with a list of our own, not by recursion.
    std::vector<U64> aPending{Start};
    bool Good = true;
    while (!aPending.empty()) {
        const U64 Offset = aPending.back();
        aPending.pop_back();
        if (!m_Done.insert(Offset).second) continue;
        if (!_CountBytes(0)) return false;
        CByteCursor Cur(m_Sec.Macro.pData, m_Sec.Macro.Size, m_Sec.BigEndian, Offset);
        const U32 Version = Cur.GetU16();
        const U32 Flags = Cur.GetU8();
        const U32 OffsetSize = Flags & 1 ? 8 : 4;
        if (Flags & 2) Cur.GetUnsigned(OffsetSize);
        // A table of vendor opcodes would have to be known to step over them; no compiler in use emits one.
        if (!Cur.IsOk() || (Version != 4 && Version != 5) || (Flags & 4)) {
            Good = false;
            continue;
        }
        for (U32 Op = Cur.GetU8(); Cur.IsOk() && Op != 0 && m_aMacro.size() < MAX_MACROS; Op = Cur.GetU8()) {
            switch (Op) {
            case DW_MACRO_define:
            case DW_MACRO_undef: {
                const U64 Line = Cur.GetULeb();
                const char* sText = Cur.GetText();
                if (Op == DW_MACRO_define && Cur.IsOk()) _Define(Line, sText);
                break;
            }
            case DW_MACRO_start_file:
                Cur.SkipLeb();
                Cur.SkipLeb();
                break;
            case DW_MACRO_end_file: break;
            case DW_MACRO_define_strp:
            case DW_MACRO_undef_strp: {
                const U64 Line = Cur.GetULeb();
                const U64 Text = Cur.GetUnsigned(OffsetSize);
                if (Op == DW_MACRO_define_strp && Cur.IsOk()) _Define(Line, _Text(m_Sec.Str, Text));
                break;
            }
            case DW_MACRO_import: {
                const U64 Target = Cur.GetUnsigned(OffsetSize);
                if (Cur.IsOk()) aPending.push_back(Target);
                break;
            }
            case DW_MACRO_define_strx:
            case DW_MACRO_undef_strx: {
                const U64 Line = Cur.GetULeb();
                const U64 Index = Cur.GetULeb();
                if (Op == DW_MACRO_define_strx && Cur.IsOk()) _Define(Line, _IndexedText(Unit, Index));
                break;
            }
            case DW_MACRO_define_sup:
            case DW_MACRO_undef_sup:
                Cur.SkipLeb();
                Cur.GetUnsigned(OffsetSize);
                break;
            case DW_MACRO_import_sup: Cur.GetUnsigned(OffsetSize); break;
            default: Cur.Fail(); break;
            }
        }
        if (!Cur.IsOk()) Good = false;
        _CountBytes(Cur.Pos() - Offset);
    }
    return Good;
}

} // namespace

const std::vector<ELF_MACRO>& ELF_FILE::Macros() const
{
    if (!HasMacros && HasDebugInfo) {
        HasMacros = true;
        CElfStepTimer Timer;
        if (!ReadMacros()) ElfReport(ELF_ERR_MACROS, FLAGS_INTERNAL);
        Timer.Lap(ELF_STEP_MACROS);
        Timer.Log(ELF_STEP_MACROS);
    }
    return aMacro;
}

bool ELF_FILE::ReadMacros() const
{
    CMacroReader Reader(Info.Sections(), aMacro);
    bool Good = true;
    for (const DWARF_UNIT& Unit : Info.Units()) {
        DWARF_DIE Root;
        if (Unit.IsTypeUnit() || !Info.ReadDie(Unit, Unit.DieOffset, Root)) continue;
        if (const DWARF_VALUE Value = Info.GetAttr(Root, DW_AT_macro_info)) {
            Good = Reader.ReadMacinfo(Value.Value) && Good;
        }
        for (const U32 Attr : {static_cast<U32>(DW_AT_macros), static_cast<U32>(DW_AT_GNU_macros)}) {
            if (const DWARF_VALUE Value = Info.GetAttr(Root, Attr)) Good = Reader.ReadMacro(Value.Value, Unit) && Good;
        }
    }
    return Good;
}
