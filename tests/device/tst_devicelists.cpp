#include <QTest>
class tst_devicelists : public QObject { Q_OBJECT private slots: void x() {} };
QTEST_GUILESS_MAIN(tst_devicelists)
#include "tst_devicelists.moc"
