#ifndef MIVOTEST_H
#define MIVOTEST_H

/** @file
 * All of the test kit, libmivo_test: what the tests of a plug-in need beside QtTest.
 */

#include "MivoFakePlugin.h"
#include "MivoTestForm.h"
#include "MivoTestGlobal.h"
#include "MivoTestHost.h"
#include "MivoTestOutcome.h"
#include "MivoTestText.h"

#endif
