// The settings as they were when a dialog opened or last applied, and the way back to them.
//
// A settings dialog carries out each change at once, as a command, so that its effect can be seen; this is
// what Cancel returns to. Main thread only.
#pragma once
#include "app/services/types.h"
#include "project/settings/settingids.h"

#include <QFont>
#include <array>

class CSettingsBaseline {
public:
    /// Takes the present values of all preferences, colours and fonts.
    void Take();
    /// True if a preference, colour or font differs.
    bool IsChanged() const;
    /// Puts back what differs; what is visible is done by commands.
    void Restore() const;

private:
    struct NUMBER {
        I64 Current = 0;
        I64 Stored = 0;
        bool operator==(const NUMBER&) const = default;
    };
    struct FONT {
        QFont Current;
        QFont Stored;
        bool operator==(const FONT&) const = default;
    };
    static NUMBER GetVarNow(int VarID);
    static NUMBER GetColorNow(int ColorID);
    static FONT GetFontNow(int FontID);

    std::array<NUMBER, NUM_SYS_VARS> m_aVar{};
    std::array<NUMBER, NUM_COLORS> m_aColor{};
    std::array<FONT, NUM_FONTS> m_aFont{};
    int m_Scheme = 0;
};

/// \name Changes of the user, carried out as commands and echoed; the stored value follows
/// False if the command refused the value.
///@{
bool EditPreference(int VarID, const QString& sValue);
bool EditPreference(int VarID, I64 Value);
bool EditColor(int ColorID, U32 Value);
bool EditFont(int FontID, const QFont& Font);
///@}
