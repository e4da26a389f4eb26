#include "views/settings/settingsbaseline.h"

#include "app/actions/actions.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "views/theme/theme.h"

namespace {
QString GetVarName(int VarID)
{
    return QString::fromLatin1(GetVar(VarID)->Name);
}

/// A row of 8 bytes holds its bits; as text it is unsigned.
QString NumberText(int VarID, I64 Value)
{
    return GetVar(VarID)->Type == SVT_ULONGLONG ? QString::number(U64(Value)) : QString::number(Value);
}
} // namespace

bool EditPreference(int VarID, const QString& sValue)
{
    return PerformActionList(ACT_EDIT_PREFERENCE, {GetVarName(VarID), sValue, QStringLiteral("1")}) >= 0;
}

bool EditPreference(int VarID, I64 Value)
{
    return EditPreference(VarID, NumberText(VarID, Value));
}

bool EditColor(int ColorID, U32 Value)
{
    const QString sValue = QStringLiteral("0x%1").arg(Value, 8, 16, QLatin1Char('0'));
    if (PerformActionList(ACT_EDIT_COLOR, {QString::fromLatin1(GetColorRow(ColorID)->Name), sValue}) < 0)
        return false;
    SetColor(ColorID, Value, true);
    return true;
}

bool EditFont(int FontID, const QFont& Font)
{
    if (PerformActionList(ACT_EDIT_FONT, {QString::fromLatin1(GetFontRow(FontID)->Name), FontToText(Font)}) <
        0)
        return false;
    SetFont(FontID, ::GetFont(FontID), true);
    return true;
}

CSettingsBaseline::NUMBER CSettingsBaseline::GetVarNow(int VarID)
{
    return {GetVarValue(VarID), GetVarStored(VarID)};
}

CSettingsBaseline::NUMBER CSettingsBaseline::GetColorNow(int ColorID)
{
    return {GetColorValue(ColorID), GetColorStored(ColorID)};
}

CSettingsBaseline::FONT CSettingsBaseline::GetFontNow(int FontID)
{
    return {::GetFont(FontID), GetFontStored(FontID)};
}

void CSettingsBaseline::Take()
{
    for (int i = FIRST_PREFERENCE; i < NUM_SYS_VARS; i++) m_aVar[size_t(i)] = GetVarNow(i);
    for (int i = 0; i < NUM_COLORS; i++) m_aColor[size_t(i)] = GetColorNow(i);
    for (int i = 0; i < NUM_FONTS; i++) m_aFont[size_t(i)] = GetFontNow(i);
    m_Scheme = CTheme::GetScheme();
}

bool CSettingsBaseline::IsChanged() const
{
    for (int i = FIRST_PREFERENCE; i < NUM_SYS_VARS; i++)
        if (m_aVar[size_t(i)] != GetVarNow(i)) return true;
    for (int i = 0; i < NUM_COLORS; i++)
        if (m_aColor[size_t(i)] != GetColorNow(i)) return true;
    for (int i = 0; i < NUM_FONTS; i++)
        if (m_aFont[size_t(i)] != GetFontNow(i)) return true;
    return m_Scheme != CTheme::GetScheme();
}

void CSettingsBaseline::Restore() const
{
    for (int i = FIRST_PREFERENCE; i < NUM_SYS_VARS; i++) {
        const NUMBER& Old = m_aVar[size_t(i)];
        if (Old == GetVarNow(i)) continue;
        // What a project had set for this session stays out of the stored value, as before.
        EditPreference(i, Old.Stored);
        if (Old.Current != Old.Stored)
            PerformActionList(ACT_EDIT_PREFERENCE, {GetVarName(i), NumberText(i, Old.Current)});
    }
    for (int i = 0; i < NUM_COLORS; i++) {
        const NUMBER& Old = m_aColor[size_t(i)];
        if (Old == GetColorNow(i)) continue;
        EditColor(i, U32(Old.Current));
        SetColor(i, U32(Old.Stored), true);
        SetColor(i, U32(Old.Current), false);
    }
    for (int i = 0; i < NUM_FONTS; i++) {
        const FONT& Old = m_aFont[size_t(i)];
        if (Old == GetFontNow(i)) continue;
        EditFont(i, Old.Current);
        SetFont(i, Old.Stored, true);
        SetFont(i, Old.Current, false);
    }
    if (m_Scheme != CTheme::GetScheme()) CTheme::SetScheme(THEME_SCHEMES(m_Scheme));
}
