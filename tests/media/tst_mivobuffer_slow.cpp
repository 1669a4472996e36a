#include "Background.h"
#include "MivoBuffer.h"

#include <QtTest>

class tst_MivoBufferSlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void waitsOnWhenNobodyReleasesWithinTwentySeconds();
};

void tst_MivoBufferSlow::waitsOnWhenNobodyReleasesWithinTwentySeconds()
{
    MivoBuffer buffer(4, true);
    buffer.setInUse();
    Background waiter([&] { buffer.waitForRelease(); });
    QVERIFY(waiter.blocks());
    QVERIFY(!waiter.ends(21000));
    buffer.release();
    QVERIFY(waiter.ends());
}

QTEST_APPLESS_MAIN(tst_MivoBufferSlow)

#include "tst_mivobuffer_slow.moc"
