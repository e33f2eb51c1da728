#include "TestTime.h"

#include <QByteArray>

#include <cmath>

int scaledTimeout(int ms)
{
    static const double factor = [] {
        const QByteArray value = qgetenv("HALCY_TEST_TIME_FACTOR");
        const double parsed = value.toDouble();
        // Also false for text, NaN and infinity.
        if (parsed >= 1.0 && parsed <= 100.0)
            return parsed;
        if (!value.isEmpty())
            qWarning("HALCY_TEST_TIME_FACTOR=%s is not a number from 1 to 100; using 1", value.constData());
        return 1.0;
    }();
    return int(std::lround(ms * factor));
}
