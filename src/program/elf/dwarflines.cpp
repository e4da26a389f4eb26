// The line number program and its header.
#include "program/elf/dwarflines.h"

#include <algorithm>
#include <cctype>
#include <libdwarf/dwarf.h>
#include <string_view>

namespace {

/// No system opens a longer path.
constexpr size_t MAX_PATH_LENGTH = 4096;
/// Characters of all paths for each byte of the table: folder and name are each written once, but the folder is part of
/// each path. Without a limit, a name of a few bytes would cost as much as the longest folder.
constexpr U64 MAX_PATH_RATIO = 100, MAX_PATH_FREE = 64 * 1024;

struct LINE_HEADER {
    U32 OffsetSize = 4, AddrSize = 4;
    U32 MinInstLength = 1, MaxOps = 1;
    bool DefaultIsStmt = true;
    I32 LineBase = 0;
    U32 LineRange = 1, OpcodeBase = 1;
    U8 aOpLength[256] = {};
    U64 ProgramPos = 0, End = 0;
    std::vector<std::string> asDir;
};

bool IsAbsolute(std::string_view sPath)
{
    if (sPath.empty()) return false;
    if (sPath[0] == '/' || sPath[0] == '\\') return true;
    return sPath.size() > 2 && std::isalpha(static_cast<unsigned char>(sPath[0])) && sPath[1] == ':' &&
           (sPath[2] == '/' || sPath[2] == '\\');
}

class CLineReader {
public:
    CLineReader(const DWARF_SECTIONS& Sec, U64 Offset, DWARF_LINE_TABLE& Table)
        : m_Sec(Sec), m_Table(Table), m_Cur(Sec.Line.pData, Sec.Line.Size, Sec.BigEndian, Offset)
    {
    }
    bool ReadHeader(const char* sCompDir, U32 AddrSize);
    bool RunProgram();

private:
    struct STATE {
        U32 Addr = 0, OpIndex = 0, File = 1, Line = 1;
        U32 Col = 0;
        bool IsStmt = true;
    };
    bool _ReadOldTables(const char* sCompDir);
    bool _ReadEntries(const char* sCompDir, bool Files);
    std::string _Join(std::string_view sDir, std::string_view sName);
    void _AddFile(std::string_view sName, U64 Dir);
    void _Advance(U64 Ops);
    void _Append(bool EndSequence);
    bool _Extended();
    void _Standard(U32 Op);

    const DWARF_SECTIONS& m_Sec;
    DWARF_LINE_TABLE& m_Table;
    CByteCursor m_Cur;
    LINE_HEADER m_Hdr;
    STATE m_State;
    U64 m_PathBudget = 0; ///< characters that paths may still have
};

/// The path of a name in a folder; empty if there is no name, or if it can't be a path.
std::string CLineReader::_Join(std::string_view sDir, std::string_view sName)
{
    if (sDir.empty() || IsAbsolute(sName)) sDir = {};
    const size_t Length = sName.empty() ? 0 : sDir.size() + 1 + sName.size();
    if (Length > MAX_PATH_LENGTH || Length > m_PathBudget) {
        m_Table.HasLostPaths = true;
        return {};
    }
    m_PathBudget -= Length;
    if (sDir.empty() || sName.empty()) return std::string(sName);
    std::string sPath(sDir);
    if (sPath.back() != '/' && sPath.back() != '\\') sPath += '/';
    return sPath.append(sName);
}

bool CLineReader::ReadHeader(const char* sCompDir, U32 AddrSize)
{
    U64 Length = m_Cur.GetU32();
    if (Length == 0xFFFFFFFFu) {
        Length = m_Cur.GetU64();
        m_Hdr.OffsetSize = 8;
    }
    if (!m_Cur.IsOk() || Length > m_Cur.Remaining()) return false;
    m_Hdr.End = m_Cur.Pos() + Length;
    m_Cur.Limit(m_Hdr.End);
    m_PathBudget = MAX_PATH_RATIO * Length + MAX_PATH_FREE;
    m_Table.Version = m_Cur.GetU16();
    if (m_Table.Version < 2 || m_Table.Version > 5) return false;
    m_Table.FileBase = m_Table.Version >= 5 ? 0 : 1;
    m_Hdr.AddrSize = AddrSize;
    if (m_Table.Version >= 5) {
        m_Hdr.AddrSize = m_Cur.GetU8();
        m_Cur.GetU8(); // segment selector size
    }
    const U64 HeaderLength = m_Cur.GetUnsigned(m_Hdr.OffsetSize);
    if (!m_Cur.IsOk() || HeaderLength > m_Cur.Remaining()) return false;
    m_Hdr.ProgramPos = m_Cur.Pos() + HeaderLength;
    m_Hdr.MinInstLength = m_Cur.GetU8();
    if (m_Table.Version >= 4) m_Hdr.MaxOps = m_Cur.GetU8();
    if (m_Hdr.MaxOps == 0) m_Hdr.MaxOps = 1;
    m_Hdr.DefaultIsStmt = m_Cur.GetU8() != 0;
    m_Hdr.LineBase = static_cast<I8>(m_Cur.GetU8());
    m_Hdr.LineRange = m_Cur.GetU8();
    m_Hdr.OpcodeBase = m_Cur.GetU8();
    for (U32 i = 1; i < m_Hdr.OpcodeBase; i++) m_Hdr.aOpLength[i] = m_Cur.GetU8();
    if (!m_Cur.IsOk() || m_Hdr.LineRange == 0 || m_Hdr.OpcodeBase == 0) return false;
    if (m_Table.Version < 5) return _ReadOldTables(sCompDir);
    return _ReadEntries(sCompDir, false) && _ReadEntries(sCompDir, true);
}

bool CLineReader::_ReadOldTables(const char* sCompDir)
{
    m_Hdr.asDir.push_back(_Join({}, sCompDir));
    for (;;) {
        const std::string_view sDir = m_Cur.GetText();
        if (!m_Cur.IsOk()) return false;
        if (sDir.empty()) break;
        m_Hdr.asDir.push_back(_Join(m_Hdr.asDir[0], sDir));
    }
    for (;;) {
        const std::string_view sName = m_Cur.GetText();
        if (!m_Cur.IsOk()) return false;
        if (sName.empty()) return true;
        const U64 Dir = m_Cur.GetULeb();
        m_Cur.SkipLeb();
        m_Cur.SkipLeb();
        _AddFile(sName, Dir);
    }
}

void CLineReader::_AddFile(std::string_view sName, U64 Dir)
{
    m_Table.aPath.push_back(_Join(Dir < m_Hdr.asDir.size() ? std::string_view(m_Hdr.asDir[Dir]) : std::string_view(), sName));
}

bool CLineReader::_ReadEntries(const char* sCompDir, bool Files)
{
    struct FORMAT {
        U32 Content, Form;
    };
    std::vector<FORMAT> aFormat(m_Cur.GetU8());
    for (FORMAT& Format : aFormat) {
        Format.Content = static_cast<U32>(m_Cur.GetULeb());
        Format.Form = static_cast<U32>(m_Cur.GetULeb());
    }
    const U64 Count = m_Cur.GetULeb();
    // An entry without bytes would make the count alone decide about the work; one without a name is of no use.
    const bool HasPath = std::any_of(aFormat.begin(), aFormat.end(), [](const FORMAT& Format) { return Format.Content == DW_LNCT_path; });
    if (!m_Cur.IsOk() || Count > m_Cur.Remaining() || (!HasPath && Count)) return false;
    for (U64 i = 0; i < Count; i++) {
        std::string_view sName;
        U64 Dir = 0;
        for (const FORMAT& Format : aFormat) {
            if (Format.Content == DW_LNCT_path) {
                if (Format.Form == DW_FORM_string) {
                    sName = m_Cur.GetText();
                } else {
                    const ELF_BYTES Text = Format.Form == DW_FORM_line_strp ? m_Sec.LineStr : m_Sec.Str;
                    if (Format.Form != DW_FORM_line_strp && Format.Form != DW_FORM_strp) return false;
                    sName = DwarfTextAt(Text, m_Cur.GetUnsigned(m_Hdr.OffsetSize));
                }
            } else if (Format.Content == DW_LNCT_directory_index) {
                switch (Format.Form) {
                case DW_FORM_data1: Dir = m_Cur.GetU8(); break;
                case DW_FORM_data2: Dir = m_Cur.GetU16(); break;
                case DW_FORM_udata: Dir = m_Cur.GetULeb(); break;
                default: return false;
                }
            } else {
                DwarfSkipForm(m_Cur, Format.Form, {static_cast<U8>(m_Hdr.AddrSize), static_cast<U8>(m_Hdr.OffsetSize), 5});
            }
        }
        if (!m_Cur.IsOk()) return false;
        if (Files) _AddFile(sName, Dir);
        else m_Hdr.asDir.push_back(_Join(m_Hdr.asDir.empty() ? std::string_view(sCompDir) : std::string_view(m_Hdr.asDir[0]), sName));
    }
    return true;
}

void CLineReader::_Advance(U64 Ops)
{
    if (m_Hdr.MaxOps == 1) {
        m_State.Addr += static_cast<U32>(Ops * m_Hdr.MinInstLength);
        return;
    }
    const U64 Sum = m_State.OpIndex + Ops;
    m_State.Addr += static_cast<U32>(m_Hdr.MinInstLength * (Sum / m_Hdr.MaxOps));
    m_State.OpIndex = static_cast<U32>(Sum % m_Hdr.MaxOps);
}

void CLineReader::_Append(bool EndSequence)
{
    DWARF_LINE_ROW Row{};
    Row.Addr = m_State.Addr;
    Row.Line = m_State.Line;
    Row.File = m_State.File;
    Row.Col = static_cast<U16>(m_State.Col > 0xFFFF ? 0xFFFF : m_State.Col);
    Row.IsStmt = m_State.IsStmt;
    Row.EndSequence = EndSequence;
    m_Table.aRow.push_back(Row);
}

bool CLineReader::_Extended()
{
    const U64 Size = m_Cur.GetULeb();
    if (!m_Cur.IsOk() || Size > m_Cur.Remaining()) return false;
    if (Size == 0) return true;
    const U64 Next = m_Cur.Pos() + Size;
    switch (m_Cur.GetU8()) {
    case DW_LNE_end_sequence:
        _Append(true);
        m_State = STATE();
        m_State.IsStmt = m_Hdr.DefaultIsStmt;
        break;
    case DW_LNE_set_address:
        m_State.Addr = static_cast<U32>(m_Cur.GetUnsigned(Size - 1 <= 8 ? static_cast<U32>(Size - 1) : 4));
        m_State.OpIndex = 0;
        break;
    case DW_LNE_define_file: {
        const std::string_view sName = m_Cur.GetText();
        _AddFile(sName, m_Cur.GetULeb());
        break;
    }
    default: break;
    }
    m_Cur.Seek(Next);
    return m_Cur.IsOk();
}

void CLineReader::_Standard(U32 Op)
{
    switch (Op) {
    case DW_LNS_copy: _Append(false); break;
    case DW_LNS_advance_pc: _Advance(m_Cur.GetULeb()); break;
    case DW_LNS_advance_line: m_State.Line += static_cast<U32>(m_Cur.GetSLeb()); break;
    case DW_LNS_set_file: m_State.File = static_cast<U32>(m_Cur.GetULeb()); break;
    case DW_LNS_set_column: m_State.Col = static_cast<U32>(m_Cur.GetULeb()); break;
    case DW_LNS_negate_stmt: m_State.IsStmt = !m_State.IsStmt; break;
    case DW_LNS_set_basic_block:
    case DW_LNS_set_prologue_end:
    case DW_LNS_set_epilogue_begin: break;
    case DW_LNS_const_add_pc: _Advance((255 - m_Hdr.OpcodeBase) / m_Hdr.LineRange); break;
    case DW_LNS_fixed_advance_pc:
        m_State.Addr += m_Cur.GetU16();
        m_State.OpIndex = 0;
        break;
    case DW_LNS_set_isa: m_Cur.SkipLeb(); break;
    default:
        for (U32 i = 0; i < m_Hdr.aOpLength[Op]; i++) m_Cur.SkipLeb();
        break;
    }
}

bool CLineReader::RunProgram()
{
    m_Cur.Seek(m_Hdr.ProgramPos);
    m_State.IsStmt = m_Hdr.DefaultIsStmt;
    while (!m_Cur.AtEnd()) {
        const U32 Op = m_Cur.GetU8();
        if (Op >= m_Hdr.OpcodeBase) {
            const U32 Adjusted = Op - m_Hdr.OpcodeBase;
            _Advance(Adjusted / m_Hdr.LineRange);
            m_State.Line += static_cast<U32>(m_Hdr.LineBase + static_cast<I32>(Adjusted % m_Hdr.LineRange));
            _Append(false);
        } else if (Op == 0) {
            if (!_Extended()) return false;
        } else {
            _Standard(Op);
        }
    }
    return m_Cur.IsOk();
}

} // namespace

bool DwarfReadLineTable(const DWARF_SECTIONS& Sec, U64 Offset, const char* sCompDir, U32 AddrSize,
                        DWARF_LINE_TABLE& Table)
{
    CLineReader Reader(Sec, Offset, Table);
    Table.HasFiles = Reader.ReadHeader(sCompDir, AddrSize);
    return Table.HasFiles && Reader.RunProgram();
}

U64 DwarfLineTableSize(const DWARF_SECTIONS& Sec, U64 Offset)
{
    CByteCursor Cur(Sec.Line.pData, Sec.Line.Size, Sec.BigEndian, Offset);
    U64 Length = Cur.GetU32();
    if (Length == 0xFFFFFFFFu) Length = Cur.GetU64();
    return std::min(Length, Cur.Remaining());
}
