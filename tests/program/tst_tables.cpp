#include <QtTest>
class tst_tables : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(tst_tables)
#include "tst_tables.moc"
