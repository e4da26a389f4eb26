// The properties dialog of a breakpoint: fields in and out, and what a disabled one lets be edited.
#include "app/shell/breakpointdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QTest>

class tst_BreakpointDialog : public QObject {
    Q_OBJECT

private slots:
    void UntouchedChangesNothing();
    void Edited();
    void NoCondition_data();
    void NoCondition();
};

namespace {
CBreakpoint MakeRecord()
{
    CBreakpoint Record;
    Record.Loc = CSrcLoc(3, 20);
    Record.State = BP_STATE_ON;
    Record.PermittedImpl = BP_TYPE_SOFT;
    Record.Condition = "n > 2";
    Record.TriggerOnChange = true;
    Record.SkipCount = 4000000;
    Record.ReloadSkip = true;
    Record.TaskName = "Idle";
    Record.ConsoleMsg = "here";
    Record.PopupMsg = "there";
    Record.ScriptCallback = "OnHit";
    return Record;
}
} // namespace

void tst_BreakpointDialog::UntouchedChangesNothing()
{
    const CBreakpoint Record = MakeRecord();
    QVERIFY(CBreakpointDialog(Record, "main.c:20").GetRecord() == Record);
}

void tst_BreakpointDialog::Edited()
{
    CBreakpointDialog Dialog(MakeRecord(), "main.c:20");
    Dialog.findChild<QRadioButton*>("radioButtonTriggerWhenTrue")->setChecked(true);
    Dialog.findChild<QLineEdit*>("lineEditSkipCount")->setText("7");
    Dialog.findChild<QComboBox*>("comboBoxType")->setCurrentIndex(1);
    Dialog.findChild<QComboBox*>("comboBoxTaskFilter")->setEditText("none");
    auto* pEnabled = Dialog.findChild<QCheckBox*>("checkBoxEnabled");
    pEnabled->setChecked(false);
    QVERIFY(!Dialog.findChild<QLineEdit*>("lineEditSkipCount")->isEnabled());
    const CBreakpoint Record = Dialog.GetRecord();
    QVERIFY(!Record.TriggerOnChange);
    QCOMPARE(Record.SkipCount, 7u);
    QCOMPARE(Record.PermittedImpl, U32(BP_TYPE_HARD));
    QCOMPARE(Record.TaskName, QString());
    QCOMPARE(Record.State, U32(BP_STATE_DISABLED));
}

void tst_BreakpointDialog::NoCondition_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Condition");
    QTest::newRow("word") << "None" << "";
    QTest::newRow("empty call") << " () " << "";
    QTest::newRow("a name that begins so") << "none_left" << "none_left";
}

void tst_BreakpointDialog::NoCondition()
{
    QFETCH(QString, Text);
    CBreakpointDialog Dialog(MakeRecord(), "main.c:20");
    Dialog.findChild<QComboBox*>("comboBoxExpression")->setEditText(Text);
    QTEST(Dialog.GetRecord().Condition, "Condition");
}

QTEST_MAIN(tst_BreakpointDialog)
#include "tst_breakpointdialog.moc"
