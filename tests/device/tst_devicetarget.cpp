#include <QTest>
class tst_devicetarget : public QObject { Q_OBJECT private slots: void x() {} };
QTEST_GUILESS_MAIN(tst_devicetarget)
#include "tst_devicetarget.moc"
