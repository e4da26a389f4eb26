#include <QTest>
class tst_devicebreakpoints : public QObject { Q_OBJECT private slots: void x() {} };
QTEST_GUILESS_MAIN(tst_devicebreakpoints)
#include "tst_devicebreakpoints.moc"
