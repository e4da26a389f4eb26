#include "app/actions/constants.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr CONSTANT_ROW ROWS[] = {
    // Reset mode
    {0, "RM_RESET_HALT", "Reset & Halt"},
    {1, "RM_BREAK_AT_SYMBOL", "Reset & Break at Symbol"},
    {2, "RM_RESET_AND_RUN", "Reset & Run"},
    // Connect mode
    {0, "CM_DOWNLOAD_RESET", "Download & Reset Program"},
    {1, "CM_ATTACH", "Attach to Running Program"},
    {2, "CM_ATTACH_HALT", "Attach & Halt Program"},
    // Go reason
    {0, "GO_USER", "User"},
    {1, "GO_RUN_TO", "Run To"},
    // Number base
    {2, "NUMBER_BASE_BINARY", "Binary"},
    {10, "NUMBER_BASE_DEC", "Decimal"},
    {16, "NUMBER_BASE_HEX", "Hexadecimal"},
    // Display format
    {0, "DISPLAY_FORMAT_AUTO", "Automatic"},
    {2, "DISPLAY_FORMAT_BINARY", "Binary"},
    {8, "DISPLAY_FORMAT_CHAR", "Character"},
    {10, "DISPLAY_FORMAT_DEC", "Decimal"},
    {16, "DISPLAY_FORMAT_HEX", "Hexadecimal"},
    // Access width
    {0, "AW_ANY", "Any Size"},
    {1, "AW_BYTE", "1 Byte"},
    {2, "AW_HALF_WORD", "2 Bytes"},
    {4, "AW_WORD", "4 Bytes"},
    // Access type
    {0, "AT_READ_ONLY", "Read"},
    {1, "AT_WRITE_ONLY", "Write"},
    {2, "AT_READ_WRITE", "Read/Write"},
    {3, "AT_NO_ACCESS", "No Access"},
    // Breakpoint state
    {0, "BP_STATE_OFF", "Off"},
    {1, "BP_STATE_ON", "On"},
    {3, "BP_STATE_DISABLED", "Disabled"},
    {2, "BP_STATE_ON_HIDDEN", "Hidden"},
    {4, "BP_STATE_MIXED", "Mixed"},
    {5, "BP_STATE_UNKNOWN", "Unknown"},
    // Breakpoint type
    {0, "BP_TYPE_ANY", "Any"},
    {1, "BP_TYPE_HARD", "Hardware"},
    {2, "BP_TYPE_SOFT", "Software"},
    {4, "BP_TYPE_RAM", "RAM"},
    {3, "BP_TYPE_FLASH", "Flash"},
    {5, "BP_TYPE_Pending", "Pending"},
    {6, "BP_TYPE_MIXED", "Mixed"},
    // Frequency
    {0, "FREQ_AUTO", "Auto"},
    {65535, "FREQ_ADAPTIVE", "Adaptive"},
    {1, "FREQ_1_HZ", "1 Hz"},
    {2, "FREQ_2_HZ", "2 Hz"},
    {5, "FREQ_5_HZ", "5 Hz"},
    {10, "FREQ_10_HZ", "10 Hz"},
    {20, "FREQ_20_HZ", "20 Hz"},
    {50, "FREQ_50_HZ", "50 Hz"},
    {100, "FREQ_100_HZ", "100 Hz"},
    {200, "FREQ_200_HZ", "200 Hz"},
    {500, "FREQ_500_HZ", "500 Hz"},
    {1000, "FREQ_1_KHZ", "1 kHz"},
    {2000, "FREQ_2_KHZ", "2 kHz"},
    {5000, "FREQ_5_KHZ", "5 kHz"},
    {10000, "FREQ_10_KHZ", "10 kHz"},
    {20000, "FREQ_20_KHZ", "20 kHz"},
    {50000, "FREQ_50_KHZ", "50 kHz"},
    {100000, "FREQ_100_KHZ", "100 kHz"},
    {200000, "FREQ_200_KHZ", "200 kHz"},
    {500000, "FREQ_500_KHZ", "500 kHz"},
    {1000000, "FREQ_1_MHZ", "1 MHz"},
    {2000000, "FREQ_2_MHZ", "2 MHz"},
    {3000000, "FREQ_3_MHZ", "3 MHz"},
    {4000000, "FREQ_4_MHZ", "4 MHz"},
    {5000000, "FREQ_5_MHZ", "5 MHz"},
    {8000000, "FREQ_8_MHZ", "8 MHz"},
    {10000000, "FREQ_10_MHZ", "10 MHz"},
    {12000000, "FREQ_12_MHZ", "12 MHz"},
    {15000000, "FREQ_15_MHZ", "15 MHz"},
    {20000000, "FREQ_20_MHZ", "20 MHz"},
    {25000000, "FREQ_25_MHZ", "25 MHz"},
    {50000000, "FREQ_50_MHZ", "50 MHz"},
    // Truth
    {1, "1", "yes"},
    {1, "YES", "yes"},
    {1, "ON", "yes"},
    {1, "TRUE", "yes"},
    {1, "0x1", "yes"},
    {1, "ACTIVE", "yes"},
    {1, "ENABLED", "yes"},
    {0, "0", "no"},
    {0, "NO", "no"},
    {0, "OFF", "no"},
    {0, "FALSE", "no"},
    {0, "0x0", "no"},
    {0, "INACTIVE", "no"},
    {0, "DISABLED", "no"},
    // Host interface
    {1, "USB", "USB"},
    {2, "IP", "IP"},
    // Target interface
    {0, "JTAG", "JTAG"},
    {7, "cJTAG", "cJTAG"},
    {3, "FINE", "FINE"},
    {1, "SWD", "SWD"},
    // Trace source
    {0, "TRACE_SOURCE_NONE", "None"},
    {1, "TRACE_SOURCE_ETM", "Trace Pins"},
    {2, "TRACE_SOURCE_ETB", "Trace Buffer"},
    {3, "TRACE_SOURCE_SWO", "SWO"},
    // Line end format
    {0, "EOL_FORMAT_WIN", "Windows format (CR+LF)"},
    {1, "EOL_FORMAT_UNIX", "Unix format (LF)"},
    {2, "EOL_FORMAT_MAC", "Mac format (CR)"},
    {3, "EOL_FORMAT_NONE", "None"},
    // Export level
    {0, "CSV_FUNCS", "Functions"},
    {1, "CSV_LINES", "Lines"},
    {2, "CSV_INSTS", "Instructions"},
    // Tracepoint operation
    {0, "TP_OP_START", "Start"},
    {1, "TP_OP_STOP", "Stop"},
    // Session save
    {1, "DISABLE_SAVE_WINDOW_LAYOUT", "Do Not Save Window Layout"},
    {2, "DISABLE_SAVE_TABLE_LAYOUT", "Do Not Save Table Layout"},
    {4, "DISABLE_SAVE_OPEN_FILES", "Do Not Save Open Files"},
    {8, "DISABLE_SAVE_BREAKPOINTS", "Do Not Save Breakpoints"},
    {16, "DISABLE_SAVE_EXPRESSIONS", "Do Not Save Expressions"},
    {32, "DISABLE_SAVE_SELECTED_REGS", "Do Not Save Selected Registers"},
    {4294967295, "DISABLE_SAVE_ANY", "Do Not Save Any Session Information"},
    // Power unit
    {1000000, "POWER_UNIT_MICROAMPS", "uA"},
    {1000, "POWER_UNIT_MILLIAMPS", "mA"},
    // Call stack layout
    {0, "LAYOUT_CURR_FRAME_ON_TOP", "Current Frame at Top"},
    {1, "LAYOUT_CURR_FRAME_ON_BOTTOM", "Current Frame at Bottom"},
    // Time stamp format
    {0, "TIMESTAMP_FORMAT_OFF", "Timestamps Off"},
    {1, "TIMESTAMP_FORMAT_INST_CNT", "Instruction Count"},
    {2, "TIMESTAMP_FORMAT_CYCLES", "Cycles"},
    {3, "TIMESTAMP_FORMAT_TIME", "Time"},
};
static_assert(std::size(ROWS) == NUM_CONSTANTS);

/// Older names of constants.
struct OLD_NAME {
    const char* sOld;
    const char* sName;
};

constexpr OLD_NAME OLD_NAMES[] = {
    {"RM_BREAK_AT_MAIN", "RM_BREAK_AT_SYMBOL"},
    {"AW_AUTO", "AW_ANY"},
};

QList<CONSTANT>& Table()
{
    static QList<CONSTANT> Constants = [] {
        QList<CONSTANT> List;
        for (const CONSTANT_ROW& r : ROWS)
            List.append({r.Value, QString::fromLatin1(r.Name), QString::fromLatin1(r.DisplayName)});
        return List;
    }();
    return Constants;
}

QString StripQuotePair(const QString& s)
{
    return s.size() >= 2 && s.startsWith('"') && s.endsWith('"') ? s.mid(1, s.size() - 2) : s;
}

int FindBy(QString CONSTANT::*pField, const QString& sText)
{
    const QList<CONSTANT>& Constants = Table();
    const auto it = std::find_if(Constants.begin(), Constants.end(), [&](const CONSTANT& c) {
        return (c.*pField).compare(sText, Qt::CaseInsensitive) == 0;
    });
    return it == Constants.end() ? -1 : int(it - Constants.begin());
}
} // namespace

const QList<CONSTANT>& GetConstants()
{
    return Table();
}

const CONSTANT_ROW& GetConstantRow(int Index)
{
    return ROWS[Index];
}

int FindConstant(const QString& sName)
{
    QString s = StripQuotePair(sName);
    if (s.isEmpty()) return -1;
    for (const OLD_NAME& o : OLD_NAMES)
        if (s.compare(QLatin1String(o.sOld), Qt::CaseInsensitive) == 0) s = QString::fromLatin1(o.sName);
    const int i = FindBy(&CONSTANT::Name, s);
    return i >= 0 ? i : FindBy(&CONSTANT::DisplayName, s);
}

bool GetConstantValue(const QString& sName, I64* pValue)
{
    const int i = FindConstant(sName);
    if (i < 0) return false;
    *pValue = Table()[i].Value;
    return true;
}

QString GetCanonicalConstantName(const QString& sName)
{
    const int i = FindConstant(sName);
    return i < 0 ? QString() : Table()[i].Name;
}

const CONSTANT* FindConstantByValue(const QString& sPrefix, I64 Value)
{
    for (const CONSTANT& c : Table())
        if (c.Value == Value && c.Name.startsWith(sPrefix)) return &c;
    return nullptr;
}

bool ParseNumberOrConstant(const QString& sText, I64* pValue)
{
    if (GetConstantValue(sText, pValue)) return true;
    const QString s = StripQuotePair(sText.trimmed());
    bool Ok = false;
    *pValue = s.toLongLong(&Ok, 0);
    // Bit patterns above the signed range.
    if (!Ok) *pValue = I64(s.toULongLong(&Ok, 0));
    return Ok;
}

bool DefineConstant(const QString& sName, I64 Value, const QString& sDisplayName)
{
    if (sName.isEmpty()) return false;
    const int i = FindBy(&CONSTANT::Name, sName);
    if (i >= 0 && i < NUM_CONSTANTS) return false;
    if (i >= 0)
        Table()[i] = {Value, sName, sDisplayName};
    else
        Table().append({Value, sName, sDisplayName});
    return true;
}
