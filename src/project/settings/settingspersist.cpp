// Reads and writes the settings tables in the settings store.
#include "project/settings/settingspersist.h"

#include "app/services/settingsstore.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "project/settings/sysvartable.h"

namespace {
const QString GROUP_PREFERENCES = QStringLiteral("AppData/Preferences/Preferences");
const QString GROUP_COLORS = QStringLiteral("AppData/Preferences/Colors");
const QString GROUP_FONTS = QStringLiteral("AppData/Preferences/Fonts");

QString RowName(const char* sName)
{
    return QString::fromLatin1(sName);
}

QString MakeVarKey(int VarID)
{
    return CSettingsStore::MakeKey(GROUP_PREFERENCES, RowName(GetSysVarRows()[VarID].Name));
}

/// The number of a stored entry; false if it is none.
bool ReadNumber(int VarID, const QVariant& Entry, I64* pValue)
{
    bool Ok = false;
    *pValue = GetSysVarRows()[VarID].Type == SVT_ULONGLONG ? static_cast<I64>(Entry.toULongLong(&Ok)) : Entry.toLongLong(&Ok);
    return Ok;
}

/// An entry with a value that this version doesn't know, in a row that nobody has set: it stays for the version that
/// wrote it.
bool IsOfAnotherVersion(int VarID)
{
    const CSettingsStore& Store = CSettingsStore::Get();
    const QString sKey = MakeVarKey(VarID);
    if (IsStringVar(VarID) || !Store.Contains(sKey) || GetVarStored(VarID) != GetVarDefault(VarID)) {
        return false;
    }
    I64 Value = 0;
    return ReadNumber(VarID, Store.Read(sKey), &Value) && !IsVarValueValid(VarID, Value);
}

/// A colour name ("#a0b0c0", "red"); false if it is none.
bool ParseStoredColor(const QString& sText, U32* pValue)
{
    if (!QColor::isValidColor(sText)) {
        return false;
    }
    *pValue = QColor(sText).rgba();
    return true;
}
} // namespace

void LoadPreferences()
{
    const CSettingsStore& Store = CSettingsStore::Get();
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        const QString sKey = MakeVarKey(i);
        if (!Store.Contains(sKey)) {
            continue;
        }
        I64 Value = 0;
        if (IsStringVar(i)) {
            RestoreVarString(i, Store.Read(sKey).toString());
        } else if (ReadNumber(i, Store.Read(sKey), &Value)) {
            RestoreVar(i, Value);
        }
    }
}

void SavePreferences()
{
    CSettingsStore& Store = CSettingsStore::Get();
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        const SYS_VAR& Row = GetSysVarRows()[i];
        QVariant Value;
        if (IsOfAnotherVersion(i)) {
            continue;
        }
        if (Row.Type == SVT_STRING) {
            Value = GetVarStoredString(i);
        } else if (Row.Type == SVT_ULONGLONG) {
            Value = QVariant::fromValue<qulonglong>(static_cast<U64>(GetVarStored(i)));
        } else {
            Value = QVariant::fromValue<qlonglong>(GetVarStored(i));
        }
        Store.Write(GROUP_PREFERENCES, RowName(Row.Name), Value);
    }
}

void LoadColorsAndFonts()
{
    const CSettingsStore& Store = CSettingsStore::Get();
    for (const QString& sName : Store.GetKeys(GROUP_COLORS)) {
        U32 Value = 0;
        const int ColorID = FindColor(sName);
        if (ColorID >= 0 &&
            ParseStoredColor(Store.Read(GROUP_COLORS, sName, QVariant()).toString(), &Value)) {
            SetColor(ColorID, Value, true);
        }
    }
    for (const QString& sName : Store.GetKeys(GROUP_FONTS)) {
        QFont Font;
        const int FontID = FindFont(sName);
        if (FontID >= 0 && ParseFont(Store.Read(GROUP_FONTS, sName, QVariant()).toString(), &Font)) {
            SetFont(FontID, Font, true);
        }
    }
}

void SaveColorsAndFonts()
{
    CSettingsStore& Store = CSettingsStore::Get();
    for (int i = 0; i < NUM_COLORS; ++i) {
        const COLOR_ROW& Row = *GetColorRow(i);
        if (GetColorStored(i) != Row.Default) {
            Store.Write(GROUP_COLORS, RowName(Row.Name), QColor::fromRgba(GetColorStored(i)).name());
        } else {
            Store.Remove(CSettingsStore::MakeKey(GROUP_COLORS, RowName(Row.Name)));
        }
    }
    for (int i = 0; i < NUM_FONTS; ++i) {
        const FONT_ROW& Row = *GetFontRow(i);
        const QString sText = FontToText(GetFontStored(i));
        if (sText != FontToText(GetFontDefault(i))) {
            Store.Write(GROUP_FONTS, RowName(Row.Name), sText);
        } else {
            Store.Remove(CSettingsStore::MakeKey(GROUP_FONTS, RowName(Row.Name)));
        }
    }
}
