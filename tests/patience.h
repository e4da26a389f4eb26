// How long a test waits for what comes by itself: so long that only what never comes fails, however busy the machine.
// The build includes this ahead of every test source.
#pragma once
#include <QTest>

constexpr int PATIENCE_MS = 30'000;

#undef QTRY_VERIFY
#undef QTRY_COMPARE
#define QTRY_VERIFY(expr) QTRY_VERIFY_WITH_TIMEOUT(expr, PATIENCE_MS)
#define QTRY_COMPARE(expr, expected) QTRY_COMPARE_WITH_TIMEOUT(expr, expected, PATIENCE_MS)
