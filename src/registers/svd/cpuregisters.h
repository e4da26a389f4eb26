// The registers of the selected core as its description file names them: groups, names and the indexes by which
// the core plug-in knows them.
//
//   QString sError = LoadCpuRegisters("Config/Peripherals/Cortex-M4F.xml");
//   for (const CPU_REGISTER_GROUP& Group : GetCpuRegisterGroups()) ...
//
// Main thread only. The list changes only with LoadCpuRegisters and ClearCpuRegisters.
#pragma once
#include "app/services/types.h"

#include <QList>
#include <QString>

struct CPU_REGISTER {
    QString Name;        ///< as shown
    QString Alias;       ///< another name that commands accept, often empty
    QString Id;          ///< name of a system register that is read by name; empty for a core register
    QString Description;
    U32 Index = 0;       ///< register index of the core plug-in, of a core register
    U32 Bits = 32;
    bool ReadOnly = false;
};

struct CPU_REGISTER_GROUP {
    QString Name;
    QString Description;
    bool IsModeDependent =
        false; ///< its registers are those of the CPU's present mode; the plug-in knows which
    QList<CPU_REGISTER> Registers;
};

/// Replaces the list by a file's. Empty on success; otherwise the reason, and the list stays as it was. A file that is no
/// CPU register description (an SVD file of a device) gives a reason too.
QString LoadCpuRegisters(const QString& sPath);
void ClearCpuRegisters();
const QList<CPU_REGISTER_GROUP>& GetCpuRegisterGroups();
/// Register index of a name or alias, ignoring case; -1 if it is no core register.
int FindCpuRegister(const QString& sName);
/// True if the file's root element is that of a CPU register description.
bool IsCpuRegisterFile(const QString& sPath);
