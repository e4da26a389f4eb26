// System variables and user preferences: one numbered table with names, defaults and ranges,
// and three values a row: the current one, the default, and the stored one that outlives the
// process.
//
//   if (GetVarValue(VAR_RESET_MODE) == 0) ...          // any thread
//   SetVar(VAR_RESET_MODE, 2, false);                  // main thread; the project's way: current value only
//   bool Ok; I64 v = ParseVar(VAR_TIF_SPEED, "4 MHz", &Ok);
//   QObject::connect(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged, ...);
//
// Values are read from any thread (numbers are atomics, texts are copied under a mutex) and
// written on the main thread only. An index outside the table is never an error: reads give 0
// or an empty text, writes do nothing.
#pragma once
#include "app/services/types.h"
#include "project/settings/settingids.h"

#include <QString>
#include <QStringList>

/// How a row's value is held, shown and read.
enum SYS_VAR_TYPES : int {
    SVT_SELECTION, ///< one of the values of a list, 4 bytes
    SVT_UINT,      ///< 4 bytes, in a range
    SVT_INT,       ///< 4 bytes signed, in a range
    SVT_FREQ,      ///< 4 bytes, written as a frequency text
    SVT_STRING,    ///< text of at most MAX_SYS_VAR_TEXT characters
    SVT_ULONGLONG, ///< 8 bytes unsigned
};

/// Longest text of a string variable, in characters.
inline constexpr int MAX_SYS_VAR_TEXT = 100;

/// One constant row of the table. The values live beside it: see GetVarValue.
struct SYS_VAR {
    int Index;
    const char* Name;  ///< constant name, e.g. "VAR_RESET_MODE"
    const char* Label; ///< text in dialogs
    const char* Key;   ///< short label of the value
    SYS_VAR_TYPES Type;
    U64 Default;             ///< default of a number; a signed row holds it sign-extended
    const char* DefaultText; ///< default of a string row, else empty
    const char* Range;       ///< "text=value,..." or "SysVarMin=a,SysVarMax=b"
    bool Editable;           ///< shown in the system variable editor
};

/// What the table needs of layers above it. Set once at start on the main thread; an empty
/// entry leaves out the step that it serves.
struct SETTINGS_HOOKS {
    /// Value of a name of the constant table; false if the name isn't there.
    bool (*pfFindConstant)(const QString& sName, I64* pValue) = nullptr;
    /// A frequency text ("4 MHz", "auto") in Hz; -1 if it is none.
    I64 (*pfParseFreq)(const QString& sText) = nullptr;
    /// The text of a frequency in Hz. Without it the number is shown.
    QString (*pfFreqText)(I64 Hz) = nullptr;
};
void SetSettingsHooks(const SETTINGS_HOOKS& Hooks);

/// Puts every row to its default, current and stored, forgets what was set, and keeps bindings.
/// The first call happens by itself before the first access. Main thread.
void InitSysVars();

const SYS_VAR* GetVar(int Index);             ///< row, null outside the table
const SYS_VAR* FindVar(const QString& sName); ///< by decimal index or by name ignoring case; null if unknown
int GetVarIndex(const QString& sName);        ///< index by name ignoring case; -1 if unknown
const char* GetVarTypeName(
    int VarID); ///< "string selection", "unsigned int", "signed int", "string", "unsigned long long"

/// Current value. A signed row gives it sign-extended, an 8 byte row its bits, a string row 0. Any thread.
I64 GetVarValue(int VarID);
I64 GetVarStored(int VarID); ///< the value that SavePreferences writes; any thread
I64 GetVarDefault(int VarID);
QString GetVarString(int VarID); ///< current text of a string row, else empty; any thread
QString GetVarStoredString(int VarID);

/// Sets the current value and, with Store, the stored one; marks the row as set and tells the
/// notifier if the value changed. Numbers are cut to the row's width without a range check:
/// callers that hold a user's text go through ParseVar first. Main thread.
void SetVar(int VarID, I64 Value, bool Store);
/// The same for a string row. -1 for a text above MAX_SYS_VAR_TEXT characters or another type, else 0.
int SetVarString(int VarID, const QString& sText, bool Store);

/// Puts a value kept from an earlier run into the current and the stored value without marking the
/// row as set: nobody has decided on it in this run. A value outside the row's list or range is
/// left out. Main thread.
void RestoreVar(int VarID, I64 Value);
void RestoreVarString(int VarID, const QString& sText);

bool IsVarSet(int VarID);     ///< was set since the start, by any way of setting
bool IsVarChanged(int VarID); ///< current value differs from the default
bool IsStringVar(int VarID);
bool HasValueList(int VarID); ///< selection, or a row whose range is a list
QStringList GetValueTexts(int VarID);
QList<I64> GetValues(int VarID);
/// Limits of a range row; false for a value list.
bool GetVarRange(int VarID, I64* pMin, U64* pMax);

/// A user's text as a value of the row: list text, name of a constant, number in C notation or
/// frequency; ignoring case. *pOk says whether it is one; the value is 0 if not.
I64 ParseVar(int VarID, const QString& sText, bool* pOk);

/// True if the list or range of the row holds the value.
bool IsVarValueValid(int VarID, I64 Value);

/// Sets a row from its text, with Store also the stored value. 0, or -1 with the reason in *psError.
int ParseVarText(int VarID, int Store, const QString& sText, QString* psError = nullptr);

/// Text of the current value, or of Value if it isn't -1. A value outside the row's range gives
/// the text that says so; a list without that value gives an empty text.
QString VarToText(int VarID, I64 Value = -1);

/// The row's text into a buffer. 0; -1 no such row or no room; -2 no list entry has the value;
/// -3 outside the range (the buffer holds the text that says so).
int VarToTextBuffer(int VarID, I64 Value, char* pBuffer, int BufferSize);

/// Moves a row's current value into a field that somebody else owns: both functions are called
/// on every access, pfRead from any thread. Null functions end the binding. Main thread.
void BindVar(int VarID, I64 (*pfRead)(), void (*pfWrite)(I64 Value));
