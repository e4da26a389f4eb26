#include "app/shell/breakpointdialog.h"

#include "app/actions/actions.h"
#include "app/services/settingsstore.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/breakpoints/breakpointtext.h"
#include "project/settings/appearance.h"
#include "views/framework/messagebox.h"
#include "views/theme/icons.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <limits>

namespace {
constexpr char TITLE[] = "Breakpoint Properties";
constexpr char GROUP[] = "AppData/BreakpointDialog";
constexpr char KEY_EXPRESSIONS[] = "RecentExpressionsList";
constexpr int MAX_EXPRESSIONS = 10;
constexpr BP_TYPES TYPES[] = {BP_TYPE_ANY, BP_TYPE_HARD, BP_TYPE_SOFT};

/// "none" and an empty call are what users write for no condition.
QString CleanCondition(const QString& sText)
{
    const QString sPlain = sText.trimmed();
    return sPlain.compare(QLatin1String("none"), Qt::CaseInsensitive) == 0 || sPlain == QLatin1String("()") ? QString()
                                                                                                            : sPlain;
}

QStringList ReadExpressions()
{
    return CSettingsStore::Get().Read(GROUP, KEY_EXPRESSIONS, {}).toStringList();
}

void Remember(const QString& sExpression)
{
    if (sExpression.isEmpty()) return;
    QStringList List = ReadExpressions();
    List.removeAll(sExpression);
    List.prepend(sExpression);
    CSettingsStore::Get().Write(GROUP, KEY_EXPRESSIONS, List.mid(0, MAX_EXPRESSIONS));
}
} // namespace

CBreakpointDialog::CBreakpointDialog(const CBreakpoint& Record, const QString& sLocation, QWidget* pParent)
    : QDialog(pParent), m_Record(Record)
{
    setObjectName(QStringLiteral("BreakpointDialog"));
    setWindowTitle(QLatin1String(TITLE));
    setWindowIcon(GetIcon(QStringLiteral("breakpoint-edit")));
    auto* pLayout = new QVBoxLayout(this);
    auto* pGroup = new QGroupBox(Record.Derived ? QStringLiteral("Derived Breakpoint") : QStringLiteral("Breakpoint"), this);
    BuildFields(new QFormLayout(pGroup), sLocation);
    pLayout->addWidget(pGroup);
    auto* pActions = new QGroupBox(QStringLiteral(" Extra Actions"), this);
    BuildActions(new QFormLayout(pActions));
    pLayout->addWidget(pActions);
    auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    pLayout->addWidget(pButtons);
    // What a disabled breakpoint would do can't be changed; it has to be enabled first.
    const QList<QWidget*> Rest{m_pExpression, m_pWhenTrue, m_pOnChange, m_pSkip, m_pReload, m_pTask, m_pType, pActions};
    const auto EnableRest = [Rest](bool Enabled) {
        for (QWidget* pWidget : Rest) pWidget->setEnabled(Enabled);
    };
    connect(m_pEnabled, &QCheckBox::toggled, this, EnableRest);
    EnableRest(m_pEnabled->isChecked());
}

void CBreakpointDialog::BuildFields(QFormLayout* pForm, const QString& sLocation)
{
    const auto Name = [this](auto* pWidget, const char* sName) {
        pWidget->setParent(this);
        pWidget->setObjectName(QLatin1String(sName));
        return pWidget;
    };
    pForm->addRow(QStringLiteral("Location"), Name(new QLabel(sLocation), "labelLocation"));
    m_pEnabled = Name(new QCheckBox(QStringLiteral("Enabled")), "checkBoxEnabled");
    m_pEnabled->setChecked(m_Record.State != BP_STATE_DISABLED);
    pForm->addRow(QStringLiteral("State"), m_pEnabled);
    m_pType = Name(new QComboBox, "comboBoxType");
    for (const BP_TYPES Type : TYPES) m_pType->addItem(BP_TypeToText(Type), U32(Type));
    m_pType->setCurrentIndex(std::max(0, m_pType->findData(m_Record.PermittedImpl)));
    pForm->addRow(QStringLiteral("Permitted Impl."), m_pType);
    m_pExpression = Name(new QComboBox, "comboBoxExpression");
    m_pExpression->setEditable(true);
    m_pExpression->addItems(ReadExpressions());
    m_pExpression->setEditText(m_Record.Condition);
    m_pExpression->setMinimumWidth(220);
    m_pExpression->setFont(::GetFont(FONT_APP_MONO));
    pForm->addRow(QStringLiteral("Condition"), m_pExpression);
    m_pWhenTrue = Name(new QRadioButton(QStringLiteral("Trigger when true")), "radioButtonTriggerWhenTrue");
    m_pOnChange = Name(new QRadioButton(QStringLiteral("Trigger on change")), "radioButtonTriggerWhenChanged");
    (m_Record.TriggerOnChange ? m_pOnChange : m_pWhenTrue)->setChecked(true);
    pForm->addRow(QString(), m_pWhenTrue);
    pForm->addRow(QString(), m_pOnChange);
    m_pSkip = Name(new QLineEdit(QString::number(m_Record.SkipCount)), "lineEditSkipCount");
    m_pSkip->setValidator(new QIntValidator(0, std::numeric_limits<int>::max(), m_pSkip));
    m_pSkip->setFont(::GetFont(FONT_APP_MONO));
    m_pReload = Name(new QCheckBox(QStringLiteral("Reload")), "checkBoxReloadSkip");
    m_pReload->setChecked(m_Record.ReloadSkip);
    auto* pSkipRow = new QHBoxLayout;
    pSkipRow->addWidget(m_pSkip);
    pSkipRow->addWidget(m_pReload);
    pForm->addRow(QStringLiteral("Skip #"), pSkipRow);
    m_pTask = Name(new QComboBox, "comboBoxTaskFilter");
    m_pTask->setEditable(true);
    m_pTask->addItem(QStringLiteral("none"));
    m_pTask->setEditText(m_Record.TaskName.isEmpty() ? QStringLiteral("none") : m_Record.TaskName);
    pForm->addRow(QStringLiteral("Task"), m_pTask);
}

void CBreakpointDialog::BuildActions(QFormLayout* pForm)
{
    const auto Add = [this, pForm](const char* sLabel, const char* sName, const QString& sText) {
        auto* pEdit = new QLineEdit(sText, this);
        pEdit->setObjectName(QLatin1String(sName));
        pForm->addRow(QLatin1String(sLabel), pEdit);
        return pEdit;
    };
    m_pPopup = Add("Popup Message:", "lineEditMsgBoxText", m_Record.PopupMsg);
    m_pConsole = Add("Console Message: ", "lineEditConsoleText", m_Record.ConsoleMsg);
    m_pScript = Add("Script Callback:", "lineEditScriptCallback", m_Record.ScriptCallback);
}

CBreakpoint CBreakpointDialog::GetRecord() const
{
    CBreakpoint Record = m_Record;
    Record.State = m_pEnabled->isChecked() ? BP_STATE_ON : BP_STATE_DISABLED;
    Record.PermittedImpl = m_pType->currentData().toUInt();
    Record.Condition = CleanCondition(m_pExpression->currentText());
    Record.TriggerOnChange = m_pOnChange->isChecked();
    Record.SkipCount = m_pSkip->text().toUInt();
    Record.ReloadSkip = m_pReload->isChecked();
    Record.TaskName = CleanCondition(m_pTask->currentText());
    Record.PopupMsg = m_pPopup->text();
    Record.ConsoleMsg = m_pConsole->text();
    Record.ScriptCallback = m_pScript->text().trimmed();
    return Record;
}

void CBreakpointDialog::Edit(const QString& sLocation, QWidget* pParent)
{
    CBreakpointsDataModel& Model = CBreakpointsDataModel::Get();
    const CBreakpoint Before = Model.FindBreakpoint(sLocation);
    if (Before.State == BP_STATE_OFF) return;
    if (const auto& Interceptor = CMessageBox::GetInterceptor()) {
        Interceptor(QLatin1String(TITLE), sLocation, QDialogButtonBox::Cancel);
        return;
    }
    CBreakpointDialog Dialog(Before, sLocation, pParent);
    if (Dialog.exec() != Accepted) return;
    const CBreakpoint After = Dialog.GetRecord();
    Remember(After.Condition);
    if (After.PermittedImpl != Dialog.m_Record.PermittedImpl && Dialog.m_Record.PermittedImpl <= BP_TYPE_SOFT)
        PerformActionList(ACT_BREAK_SET_TYPE, {sLocation, BP_TypeToText(After.PermittedImpl)});
    if (After.State != Before.State) {
        const bool On = After.State == BP_STATE_ON;
        if (Before.IsSource())
            PerformActionList(On ? ACT_BREAK_ENABLE_ON_SRC : ACT_BREAK_DISABLE_ON_SRC, {sLocation});
        else
            PerformActionList(On ? ACT_BREAK_ENABLE : ACT_BREAK_DISABLE, {sLocation});
    }
    PerformActionList(ACT_BREAK_EDIT, {sLocation, After.Condition, QString::number(After.TriggerOnChange),
                                       QString::number(After.SkipCount), After.TaskName, After.ConsoleMsg, After.PopupMsg,
                                       After.ScriptCallback});
    // The command has no parameter for the reload; the record as it now stands gets it.
    if (CBreakpoint Now = Model.FindBreakpoint(sLocation); Now.ReloadSkip != After.ReloadSkip) {
        Now.ReloadSkip = After.ReloadSkip;
        Model.EditBreakpoint(Now);
    }
}

#include "moc_breakpointdialog.cpp"
