// Values of the variable table and the operations on a row that need no text.
#include "project/settings/sysvars.h"

#include "project/settings/settingsnotifier.h"
#include "project/settings/sysvartable.h"

#include <QMutex>
#include <QMutexLocker>
#include <array>
#include <atomic>
#include <string>

namespace {
/// One row's values. The device's worker reads while the main thread writes: numbers are
/// atomics, texts are only touched under the mutex of the block.
struct ROW_VALUE {
    std::atomic<U64> Value{0};
    std::atomic<U64> Stored{0};
    std::atomic<bool> Set{false};
    std::atomic<I64 (*)()> pfRead{nullptr};
    std::atomic<void (*)(I64)> pfWrite{nullptr};
    std::u16string sText; ///< never shared with a reader's copy
    std::u16string sStoredText;
};

struct VALUE_BLOCK {
    std::array<ROW_VALUE, NUM_SYS_VARS> aRow;
    QMutex TextMutex;

    VALUE_BLOCK() { ToDefaults(); }

    void ToDefaults()
    {
        const QMutexLocker Lock(&TextMutex);
        for (int i = 0; i < NUM_SYS_VARS; ++i) {
            const SYS_VAR& Row = GetSysVarRows()[i];
            aRow[i].Value = Row.Default;
            aRow[i].Stored = Row.Default;
            aRow[i].Set = false;
            aRow[i].sText = QString::fromLatin1(Row.DefaultText).toStdU16String();
            aRow[i].sStoredText = aRow[i].sText;
        }
    }
};

VALUE_BLOCK& Block()
{
    static VALUE_BLOCK Instance;
    return Instance;
}

bool IsVar(int VarID)
{
    return VarID >= 0 && VarID < NUM_SYS_VARS;
}

/// Cuts a value to the row's width; signed rows keep their sign.
U64 CutToWidth(int VarID, U64 Value)
{
    switch (GetSysVarRows()[VarID].Type) {
    case SVT_ULONGLONG:
        return Value;
    case SVT_INT:
        return static_cast<U64>(static_cast<I64>(static_cast<I32>(static_cast<U32>(Value))));
    case SVT_STRING:
        return 0;
    default:
        return static_cast<U32>(Value);
    }
}
} // namespace

void InitSysVars()
{
    VALUE_BLOCK& B = Block();
    B.ToDefaults();
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        if (void (*pfWrite)(I64) = B.aRow[i].pfWrite) {
            pfWrite(static_cast<I64>(GetSysVarRows()[i].Default));
        }
    }
}

const SYS_VAR* GetVar(int Index)
{
    return IsVar(Index) ? &GetSysVarRows()[Index] : nullptr;
}

int GetVarIndex(const QString& sName)
{
    const QString sTrimmed = sName.trimmed();
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        if (sTrimmed.compare(QLatin1String(GetSysVarRows()[i].Name), Qt::CaseInsensitive) == 0) {
            return i;
        }
    }
    return -1;
}

const SYS_VAR* FindVar(const QString& sName)
{
    bool Ok = false;
    const int Index = sName.trimmed().toInt(&Ok, 10);
    return GetVar(Ok ? Index : GetVarIndex(sName));
}

const char* GetVarTypeName(int VarID)
{
    if (!IsVar(VarID)) {
        return "";
    }
    switch (GetSysVarRows()[VarID].Type) {
    case SVT_SELECTION:
        return "string selection";
    case SVT_UINT:
    case SVT_FREQ:
        return "unsigned int";
    case SVT_INT:
        return "signed int";
    case SVT_STRING:
        return "string";
    case SVT_ULONGLONG:
        return "unsigned long long";
    }
    return "";
}

I64 GetVarValue(int VarID)
{
    if (!IsVar(VarID)) {
        return 0;
    }
    ROW_VALUE& Row = Block().aRow[VarID];
    if (I64(*pfRead)() = Row.pfRead) {
        return static_cast<I64>(CutToWidth(VarID, static_cast<U64>(pfRead())));
    }
    return static_cast<I64>(Row.Value.load());
}

I64 GetVarStored(int VarID)
{
    return IsVar(VarID) ? static_cast<I64>(Block().aRow[VarID].Stored.load()) : 0;
}

I64 GetVarDefault(int VarID)
{
    return IsVar(VarID) ? static_cast<I64>(GetSysVarRows()[VarID].Default) : 0;
}

QString GetVarString(int VarID)
{
    if (!IsStringVar(VarID)) {
        return QString();
    }
    const QMutexLocker Lock(&Block().TextMutex);
    return QString::fromStdU16String(Block().aRow[VarID].sText);
}

QString GetVarStoredString(int VarID)
{
    if (!IsStringVar(VarID)) {
        return QString();
    }
    const QMutexLocker Lock(&Block().TextMutex);
    return QString::fromStdU16String(Block().aRow[VarID].sStoredText);
}

void SetVar(int VarID, I64 Value, bool Store)
{
    if (!IsVar(VarID) || IsStringVar(VarID)) {
        return;
    }
    ROW_VALUE& Row = Block().aRow[VarID];
    const U64 NewValue = CutToWidth(VarID, static_cast<U64>(Value));
    const U64 OldValue = static_cast<U64>(GetVarValue(VarID));
    Row.Set = true;
    Row.Value = NewValue;
    if (Store) {
        Row.Stored = NewValue;
    }
    if (void (*pfWrite)(I64) = Row.pfWrite) {
        pfWrite(static_cast<I64>(NewValue));
    }
    if (NewValue != OldValue) {
        emit CSettingsNotifier::Get().VarChanged(VarID, static_cast<I64>(NewValue));
    }
}

int SetVarString(int VarID, const QString& sText, bool Store)
{
    if (!IsStringVar(VarID) || sText.size() > MAX_SYS_VAR_TEXT) {
        return -1;
    }
    bool Changed = false;
    {
        const QMutexLocker Lock(&Block().TextMutex);
        ROW_VALUE& Row = Block().aRow[VarID];
        const std::u16string NewText = sText.toStdU16String();
        Changed = Row.sText != NewText;
        Row.sText = NewText;
        Row.Set = true;
        if (Store) {
            Row.sStoredText = NewText;
        }
    }
    if (Changed) {
        emit CSettingsNotifier::Get().VarChanged(VarID, 0);
    }
    return 0;
}

void RestoreVar(int VarID, I64 Value)
{
    if (IsVarValueValid(VarID, Value)) {
        const bool WasSet = IsVarSet(VarID);
        SetVar(VarID, Value, true);
        Block().aRow[VarID].Set = WasSet;
    }
}

void RestoreVarString(int VarID, const QString& sText)
{
    const bool WasSet = IsVarSet(VarID);
    if (SetVarString(VarID, sText, true) == 0) {
        Block().aRow[VarID].Set = WasSet;
    }
}

bool IsVarSet(int VarID)
{
    return IsVar(VarID) && Block().aRow[VarID].Set;
}

bool IsVarChanged(int VarID)
{
    if (IsStringVar(VarID)) {
        return GetVarString(VarID) != QLatin1String(GetSysVarRows()[VarID].DefaultText);
    }
    return GetVarValue(VarID) != GetVarDefault(VarID);
}

bool IsStringVar(int VarID)
{
    return IsVar(VarID) && GetSysVarRows()[VarID].Type == SVT_STRING;
}

void BindVar(int VarID, I64 (*pfRead)(), void (*pfWrite)(I64 Value))
{
    if (IsVar(VarID) && !IsStringVar(VarID)) {
        Block().aRow[VarID].pfRead = pfRead;
        Block().aRow[VarID].pfWrite = pfWrite;
    }
}
