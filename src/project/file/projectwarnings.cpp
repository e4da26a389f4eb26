// The warnings of a project: what is wrong with it now, each told once.
#include "project/file/project.h"
#include "project/file/projecttext.h"

#include "app/services/log.h"
#include "app/services/messages.h"
#include "app/services/messagetable.h"
#include "project/finder/filefinder.h"
#include "script/host/bscript.h"

namespace {
template <typename... ARGS> QString Message(int Id, ARGS... Args)
{
    char acText[2048];
    FormatMessage(Id, acText, sizeof(acText), Args...);
    return QString::fromUtf8(acText);
}

bool Asks(const std::function<bool()>& Hook, bool Otherwise)
{
    return Hook ? Hook() : Otherwise;
}

QStringList GetScriptErrors()
{
    QStringList Errors;
    for (const QString& sText : BScript::GetErrorTexts()) {
        Errors += Message(MSGID_SCRIPT_FAILURE, sText.toUtf8().constData());
    }
    return Errors;
}
} // namespace

void CProject::AddWarning(const QString& sText)
{
    m_Warnings.append(sText);
}

QStringList CProject::GetDuplicateCommands() const
{
    const QString sText = BScript::GetScriptText();
    int Begin = 0;
    int End = 0;
    return !sText.isEmpty() && FindProjectLoadBody(sText, &Begin, &End)
               ? FindDuplicateCommands(sText.mid(Begin, End - Begin))
               : QStringList();
}

QStringList CProject::GetWarnings() const
{
    QStringList Warnings = m_Warnings + GetScriptErrors();
    const QString sDefault = m_Hooks.DefaultRegisterFile ? m_Hooks.DefaultRegisterFile() : QString();
    if (!Asks(m_Hooks.HasCPURegisters, true) && sDefault.isEmpty()) {
        Warnings += Message(MSGID_NO_CPU_REG_FILE);
    }
    for (const QString& sFile : m_RegisterFiles) {
        if (CFileFinder::Get().Resolve(sFile).isEmpty()) {
            Warnings += Message(MSGID_NO_CPU_REG_FILE);
        }
    }
    if (Asks(m_Hooks.IsCorePluginMissing, false)) {
        Warnings += Message(MSGID_NO_CORE_PLUGIN);
    }
    if (m_Hooks.HasSymbol && !Asks(m_Hooks.IsOSPluginSet, false)) {
        if (m_Hooks.HasSymbol(QStringLiteral("OS_Global"))) {
            Warnings += Message(MSGID_RIVULET_NOT_ENABLED);
        }
        if (m_Hooks.HasSymbol(QStringLiteral("pxCurrentTCB"))) {
            Warnings += Message(MSGID_FREERTOS_NOT_ENABLED);
        }
    }
    if (Asks(m_Hooks.IsProgramOpen, false)) {
        if (!Asks(m_Hooks.CanProgramRun, true)) {
            Warnings += Message(MSGID_ELF_WRONG_TARGET);
        }
        if (!Asks(m_Hooks.DataEndianMatches, true)) {
            Warnings += Message(MSGID_ELF_DATA_ENDIANESS);
        }
        if (!Asks(m_Hooks.InstEndianMatches, true)) {
            Warnings += Message(MSGID_ELF_INST_ENDIANESS);
        }
    }
    for (const QString& sCommand : GetDuplicateCommands()) {
        Warnings += Message(MSGID_COMMAND_TWICE, sCommand.toUtf8().constData());
    }
    return Warnings;
}

bool CProject::_ReportNew(const QString& sWarning)
{
    const size_t Hash = qHash(sWarning.toLower());
    if (m_ReportedWarnings.contains(Hash)) {
        return false;
    }
    m_ReportedWarnings.insert(Hash);
    LogError(sWarning);
    return true;
}

int CProject::_ReportAllNew(const QStringList& Warnings)
{
    int Count = 0;
    for (const QString& sWarning : Warnings) {
        Count += _ReportNew(sWarning) ? 1 : 0;
    }
    return Count;
}

int CProject::LogNewWarnings()
{
    return _ReportAllNew(GetWarnings());
}

int CProject::LogScriptError()
{
    return _ReportAllNew(GetScriptErrors());
}

void CProject::ForgetScriptErrors()
{
    for (const QString& sError : GetScriptErrors()) {
        m_ReportedWarnings.remove(qHash(sError.toLower()));
    }
}
