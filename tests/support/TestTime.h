#pragma once

// Deadlines for the waits of the integration tests. A slow build (the sanitizers) stretches all of them by
// one factor, HALCY_TEST_TIME_FACTOR, rather than each being raised by hand; unset, the factor is 1.

// `ms` stretched by the factor: for QTRY_*_WITH_TIMEOUT, qWaitFor and the support code's waits.
int scaledTimeout(int ms);
