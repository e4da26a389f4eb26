#include "registers/svd/cpuregisters.h"

#include "registers/svd/xmlfile.h"

namespace {

QList<CPU_REGISTER_GROUP> s_Groups;

/// A number of the file: decimal, hexadecimal with 0x, or binary behind "#".
U32 ToNumber(const QString& sText, U32 Default)
{
    bool Ok = false;
    const U32 Value = sText.startsWith('#') ? sText.mid(1).toUInt(&Ok, 2) : sText.toUInt(&Ok, 0);
    return Ok ? Value : Default;
}

bool ToBool(const QString& sText)
{
    return sText.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || ToNumber(sText, 0) != 0;
}

CPU_REGISTER ReadRegister(const CXmlNode& Node)
{
    CPU_REGISTER Register;
    Register.Name = Node.GetText("displayName");
    const QString sName = Node.GetText("name");
    if (Register.Name.isEmpty()) Register.Name = sName;
    Register.Alias = Node.GetText("aliasName");
    if (Register.Alias.isEmpty() && sName != Register.Name) Register.Alias = sName;
    Register.Id = Node.GetText("id");
    Register.Description = Node.GetText("description");
    Register.Index = ToNumber(Node.GetText("index"), 0xFFFFFFFFu);
    Register.Bits = ToNumber(Node.GetText("size"), 32);
    const QString sAccess = Node.GetText("access").toLower();
    Register.ReadOnly = sAccess == "read-only" || sAccess == "ro";
    return Register;
}

} // namespace

bool IsCpuRegisterFile(const QString& sPath)
{
    CXmlFile File;
    return File.Load(sPath).isEmpty() && File.GetRoot().GetName().toLower() == "cpu";
}

QString LoadCpuRegisters(const QString& sPath)
{
    CXmlFile File;
    if (const QString sError = File.Load(sPath); !sError.isEmpty()) return sError;
    const CXmlNode Root = File.GetRoot();
    if (Root.GetName().toLower() != "cpu")
        return QStringLiteral("skipping %1: not a CMSIS CPU register set description file").arg(sPath);
    QList<CPU_REGISTER_GROUP> Groups;
    for (const CXmlNode& Node : Root.GetChild("groups").GetChildren("group")) {
        if (Node.HasAttribute("derivedFrom")) continue;
        CPU_REGISTER_GROUP Group;
        Group.Name = Node.GetText("name");
        Group.Description = Node.GetText("description");
        Group.IsModeDependent = ToBool(Node.GetText("cpumodedependent"));
        for (const CXmlNode& Register : Node.GetChild("registers").GetChildren("register"))
            Group.Registers.append(ReadRegister(Register));
        if (!Group.Registers.isEmpty()) Groups.append(Group);
    }
    if (Groups.isEmpty()) return QStringLiteral("%1: no registers").arg(sPath);
    s_Groups = Groups;
    return {};
}

void ClearCpuRegisters()
{
    s_Groups.clear();
}

const QList<CPU_REGISTER_GROUP>& GetCpuRegisterGroups()
{
    return s_Groups;
}

int FindCpuRegister(const QString& sName)
{
    if (sName.isEmpty()) return -1; // most registers have no alias
    for (const CPU_REGISTER_GROUP& Group : s_Groups)
        for (const CPU_REGISTER& Register : Group.Registers)
            if (Register.Id.isEmpty() && Register.Index != 0xFFFFFFFFu &&
                (Register.Name.compare(sName, Qt::CaseInsensitive) == 0 ||
                 Register.Alias.compare(sName, Qt::CaseInsensitive) == 0))
                return int(Register.Index);
    return -1;
}
