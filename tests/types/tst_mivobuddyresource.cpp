#include "MivoBuddyResource.h"
#include "MivoBuddyResourceType.h"
#include "MivoPresenceType.h"

#include <QtTest>

#include <type_traits>
#include <utility>

class tst_MivoBuddyResource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aResourceTypeKeepsNameAndIcon();
    void withoutATypeItAnswersDefaults();
    void anInvalidResourceKeepsItsPresence();
    void itAnswersWhatTypeAndPresenceSay();
    void withoutAPresenceThePriorityIsZero();
    void equalityAsksTheTypeAlone();
    void assignmentCopiesTypeAndPresence();
    void aMovedFromResourceIsEmpty();
};

void tst_MivoBuddyResource::aResourceTypeKeepsNameAndIcon()
{
    const MivoBuddyResourceType type("Phone", "phone.png");
    QCOMPARE(type.name, QString("Phone"));
    QCOMPARE(type.icon, QString("phone.png"));
}

void tst_MivoBuddyResource::withoutATypeItAnswersDefaults()
{
    const MivoBuddyResource resource;
    QVERIFY(!resource.isValid());
    QVERIFY(resource.getPresence() == MivoPresence());
    QCOMPARE(resource.getPriority(), 0xFFFFFFFFU);
    QVERIFY(resource.getName().isNull());
    QVERIFY(resource.getIcon().isNull());
}

void tst_MivoBuddyResource::anInvalidResourceKeepsItsPresence()
{
    MivoPresenceType online;
    online.priority = 4;
    const MivoPresence presence(&online, "x");
    const MivoBuddyResource resource(nullptr, presence);
    QVERIFY(!resource.isValid());
    QVERIFY(resource.getPresence() == presence);
    QCOMPARE(resource.getPriority(), 0xFFFFFFFFU);
}

void tst_MivoBuddyResource::itAnswersWhatTypeAndPresenceSay()
{
    MivoBuddyResourceType phone("Phone", "phone.png");
    MivoPresenceType online;
    online.priority = 4;
    const MivoPresence presence(&online, "x");
    const MivoBuddyResource resource(&phone, presence);
    QVERIFY(resource.isValid());
    QVERIFY(resource.getPresence() == presence);
    QCOMPARE(resource.getPriority(), 4U);
    QCOMPARE(resource.getName(), QString("Phone"));
    QCOMPARE(resource.getIcon(), QString("phone.png"));
}

void tst_MivoBuddyResource::withoutAPresenceThePriorityIsZero()
{
    MivoBuddyResourceType phone("Phone", "phone.png");
    QCOMPARE(MivoBuddyResource(&phone, MivoPresence()).getPriority(), 0U);
}

void tst_MivoBuddyResource::equalityAsksTheTypeAlone()
{
    MivoBuddyResourceType phone("Phone", "phone.png");
    MivoBuddyResourceType otherPhone("Phone", "phone.png");
    const MivoBuddyResource resource(&phone, MivoPresence(nullptr, "x"));
    QVERIFY(resource == MivoBuddyResource(&phone, MivoPresence(nullptr, "y")));
    QVERIFY(!(resource != MivoBuddyResource(&phone, MivoPresence(nullptr, "y"))));
    QVERIFY(resource != MivoBuddyResource(&otherPhone, MivoPresence(nullptr, "x")));
    QVERIFY(resource != MivoBuddyResource());
    QVERIFY(MivoBuddyResource() == MivoBuddyResource(nullptr, MivoPresence(nullptr, "x")));
}

void tst_MivoBuddyResource::assignmentCopiesTypeAndPresence()
{
    MivoBuddyResourceType phone("Phone", "phone.png");
    MivoBuddyResource resource;
    resource = MivoBuddyResource(&phone, MivoPresence(nullptr, "x"));
    QCOMPARE(resource.getName(), QString("Phone"));
    QCOMPARE(resource.getPresence().getDescription(), QString("x"));
}

void tst_MivoBuddyResource::aMovedFromResourceIsEmpty()
{
    static_assert(std::is_nothrow_move_constructible<MivoBuddyResource>::value, "");
    static_assert(std::is_nothrow_move_assignable<MivoBuddyResource>::value, "");
    const auto isEmpty = [](const MivoBuddyResource& resource) {
        return !resource.isValid() && resource.getPresence() == MivoPresence();
    };
    MivoBuddyResourceType phone("Phone", "phone.png");
    MivoPresenceType online;
    const MivoPresence presence(&online, "x");
    const auto isWhole = [&presence](const MivoBuddyResource& resource) {
        return resource.getName() == "Phone" && resource.getPresence() == presence;
    };
    MivoBuddyResource source(&phone, presence);
    MivoBuddyResource target(std::move(source));
    QVERIFY(isEmpty(source)); // NOLINT(bugprone-use-after-move)
    QVERIFY(isWhole(target));
    MivoBuddyResource assigned(nullptr, MivoPresence(nullptr, "y"));
    assigned = std::move(target);
    QVERIFY(isEmpty(target)); // NOLINT(bugprone-use-after-move)
    QVERIFY(isWhole(assigned));
    MivoBuddyResource& itself = assigned;
    assigned = std::move(itself);
    QVERIFY(isWhole(assigned));
}

QTEST_GUILESS_MAIN(tst_MivoBuddyResource)
#include "tst_mivobuddyresource.moc"
