// A window that holds all actions of the table and performs those of the project layer, a recorder
// for every other command, and hooks that note what a project changes.
#pragma once
#include "app/actions/actions.h"
#include "app/services/log.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"

#include <QAction>
#include <QMap>
#include <QTemporaryDir>
#include <QWidget>

class CProjectRig {
public:
    CProjectRig()
    {
        InitSysVars();
        for (int Id = 0; Id < NUM_ACTIONS; ++Id) {
            auto* pAction = new QAction(&Window);
            pAction->setObjectName(QLatin1String(GetActionRow(Id)->ObjectName));
            QObject::connect(pAction, &QAction::triggered, pAction, [this, Id] { Run(Id); });
        }
        LinkActions(&Window);
        ACTION_HOOKS Actions;
        Actions.CheckStringArg = BScript::CheckStringArg;
        Actions.ReadStringArg = BScript::ReadStringArg;
        SetActionHooks(Actions);
        SetLogConsoleSink([this](const QString& sText, U32) { Console += sText; });

        PROJECT_HOOKS Hooks;
        Hooks.SetDeviceParam = [this](int Id, I64 Value) { Numbers[Id] = Value; };
        Hooks.SetDeviceParamText = [this](int Id, const QString& s) { Texts[Id] = s; };
        Hooks.GetDeviceParam = [this](int Id) { return Numbers.value(Id); };
        Hooks.GetDeviceParamText = [this](int Id) { return Texts.value(Id); };
        Hooks.SysVarChanged = [this](int Id, I64) { ChangedVars += Id; };
        Hooks.ShowErrorBox = [this](const QString& s) { Boxes += s; };
        Hooks.AskSavePath = [this](const QString&, const QString&) { return SavePath; };
        CProject::Get().SetHooks(Hooks);
        CProject::Get().Init();
        CFileFinder::Get().Hooks().InstallDir = [this] { return In("install"); };
    }
    ~CProjectRig()
    {
        SetLogConsoleSink({});
        CProject::Get().Close();
        BScript::Close();
        CProject::Get().SetHooks({});
        SetActionHooks({});
        UnlinkActions(&Window);
    }

    QString In(const QString& sName) const { return Dir.path() + QLatin1Char('/') + sName; }

    /// Writes bytes to a file of the folder.
    QString Put(const QString& sName, const QByteArray& Bytes) const
    {
        QFile File(In(sName));
        if (File.open(QIODevice::WriteOnly)) {
            File.write(Bytes);
        }
        return In(sName);
    }
    QByteArray Bytes(const QString& sName) const
    {
        QFile File(In(sName));
        return File.open(QIODevice::ReadOnly) ? File.readAll() : QByteArray();
    }

    QTemporaryDir Dir;
    QWidget Window;
    QStringList Calls;  ///< commands of other layers, with their parameters
    QStringList Errors; ///< errors set by commands, with the command's name
    QStringList Console;
    QStringList Boxes;
    QMap<int, I64> Numbers;
    QMap<int, QString> Texts;
    QList<int> ChangedVars;
    QString SavePath;
    std::function<void(int)> OnOther; ///< called for commands of other layers

private:
    void Run(int Id)
    {
        if (!CProject::Get().HandleCommand(Id)) {
            Calls += GetCommandName(Id) + QLatin1Char('(') + GetActionParams(Id).join(QLatin1Char(',')) +
                     QLatin1Char(')');
            if (OnOther) {
                OnOther(Id);
            }
        }
        if (!GetActionError(Id).isEmpty()) {
            Errors += GetCommandName(Id) + QLatin1String(": ") + GetActionError(Id);
        }
        ClearAction(Id);
    }
};
