// Named constants that commands, scripts and the echo share.
#pragma once
#include "app/services/types.h"

#include <QList>
#include <QString>

/// Number of rows that are built in; Script.DefineConst adds more behind them.
inline constexpr int NUM_CONSTANTS = 117;

struct CONSTANT_ROW {
    I64 Value;
    const char* Name;        ///< canonical name
    const char* DisplayName; ///< as shown to the user
};

struct CONSTANT {
    I64 Value = 0;
    QString Name;
    QString DisplayName;
};

/// All constants, the built-in rows first. Main thread.
const QList<CONSTANT>& GetConstants();
/// A built-in row, Index below NUM_CONSTANTS.
const CONSTANT_ROW& GetConstantRow(int Index);
/// Index of a constant by canonical name, then by display name, then by its older name, ignoring case
/// and one pair of surrounding quotes; -1 if unknown.
int FindConstant(const QString& sName);
/// Value of a constant by name. False if unknown.
bool GetConstantValue(const QString& sName, I64* pValue);
/// Canonical name of a text that is a constant's name, empty if it is none.
QString GetCanonicalConstantName(const QString& sName);
/// First constant of a value whose canonical name begins with sPrefix ("RM_"); null if there is none.
const CONSTANT* FindConstantByValue(const QString& sPrefix, I64 Value);
/// A number by name, else in C notation (base 0). False if it is neither.
bool ParseNumberOrConstant(const QString& sText, I64* pValue);
/// Adds a constant, or changes one that was added before; a built-in name is refused with false.
bool DefineConstant(const QString& sName, I64 Value, const QString& sDisplayName = {});
