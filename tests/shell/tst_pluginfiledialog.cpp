// The question for a plug-in's file: its reason stands in the dialog of the selection itself.
#include "app/shell/pluginfiledialog.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

class tst_pluginfiledialog : public QObject {
    Q_OBJECT

private slots:
    void Choice_data()
    {
        QTest::addColumn<bool>("Accepts");
        QTest::newRow("chosen") << true;
        QTest::newRow("canceled") << false;
    }

    void Choice()
    {
        QFETCH(bool, Accepts);
        const QTemporaryDir Dir;
        const QString sPath = Dir.filePath("core.so");
        QFile File(sPath);
        QVERIFY(File.open(QIODevice::WriteOnly));
        File.close();
        QString sTitle;
        QString sText;
        QTimer::singleShot(0, this, [&] {
            auto* pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            QVERIFY(pDialog);
            sTitle = pDialog->windowTitle();
            sText = pDialog->findChild<QLabel*>({}, Qt::FindDirectChildrenOnly)->text();
            if (const QString sShot = qEnvironmentVariable("VANTREL_SHOT"); !sShot.isEmpty()) pDialog->grab().save(sShot);
            auto* pFiles = pDialog->findChild<QFileDialog*>();
            QVERIFY(pFiles);
            pFiles->setDirectory(Dir.path());
            pFiles->findChild<QLineEdit*>("fileNameEdit")->setText(sPath);
            if (Accepts)
                QMetaObject::invokeMethod(pFiles, "accept");
            else
                QMetaObject::invokeMethod(pFiles, "reject");
        });
        const QString sAnswer = CPluginFileDialog::Ask(nullptr, "Project Warning", "It wasn't found.\nPlease say where it is.");
        QCOMPARE(sTitle, QString("Project Warning"));
        QCOMPARE(sText, QString("It wasn't found.\nPlease say where it is."));
        QCOMPARE(sAnswer, Accepts ? sPath : QString());
    }
};

QTEST_MAIN(tst_pluginfiledialog)
#include "tst_pluginfiledialog.moc"
