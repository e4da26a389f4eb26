#include <QtTest>
class tst_symbols : public QObject { Q_OBJECT };
QTEST_GUILESS_MAIN(tst_symbols)
#include "tst_symbols.moc"
