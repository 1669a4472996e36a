#include "MivoBuddy.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyResourceType.h"
#include "MivoBuffer.h"
#include "MivoCallActionEvent.h"
#include "MivoCallSlotEvent.h"
#include "MivoField_p.h"
#include "MivoGarbageCollector.h"
#include "MivoGarbageCollector_p.h"
#include "MivoPresence.h"
#include "MivoPresenceType.h"
#include "MivoResolution.h"
#include "MivoRingBuffer.h"
#include "MivoSubscriptionType.h"

#include "RecordLayout.h"

#include <QtTest>

#include <cstring>

/** @file
 * Places of fields and of virtual operations on which plug-ins and hosts rely that were built apart.
 * The layouts of the other classes are tested beside what the classes do.
 */

namespace {

/** What @p object has where its field @p member is expected; @p Fields lists all its fields. */
template <class Fields, class Object, class Value>
const Value& fieldOf(const Object& object, Value Fields::*member)
{
    static_assert(sizeof(Fields) == sizeof(Object), "other fields than expected");
    static_assert(alignof(Fields) == alignof(Object), "other fields than expected");
    return reinterpret_cast<const Fields&>(object).*member;
}

/** How many operations stand before @p operation in its virtual table. */
template <class Operation>
int virtualSlot(Operation operation)
{
    // In the Itanium ABI a pointer to a virtual member is 1 plus its offset in the table.
    std::ptrdiff_t representation[2];
    static_assert(sizeof representation == sizeof operation, "another ABI");
    std::memcpy(representation, &operation, sizeof representation);
    return int((representation[0] - 1) / std::ptrdiff_t(sizeof(void*)));
}

/** Has its one virtual operation behind those of @p Base. */
template <class Base>
class Behind : public Base
{
public:
    virtual void own() { }
};

class Removable : public MivoRemovable
{
public:
    bool isUnused() override { return true; }
};

class MarkedPresence : public MivoPresence
{
public:
    explicit MarkedPresence(const MivoPresence& presence)
        : MivoPresence(presence)
    {
        marker = true;
    }
};

} // namespace

class tst_Layout : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void presence();
    void subscription();
    void resource();
    void field();
    void buffer();
    void ring();
    void collector();
    void resolution();
    void virtualOperations();
};

void tst_Layout::presence()
{
    MivoPresenceType type;
    QVERIFY(startsWithFields(&type, type.display, type.id, type.icon, type.priority, type.flag));
    static_assert(sizeof(type.priority) == 4 && sizeof(type.flag) == 4, "");

    struct Fields
    {
        MivoPresenceType* type;
        QString description;
        bool marker;
    };
    const MivoPresence presence(&type, "away");
    QCOMPARE(fieldOf(presence, &Fields::type), &type);
    QCOMPARE(fieldOf(presence, &Fields::description), QString("away"));
    QVERIFY(!fieldOf(presence, &Fields::marker));
    QVERIFY(fieldOf(MarkedPresence(presence), &Fields::marker));
}

void tst_Layout::subscription()
{
    struct Fields
    {
        QString display;
        QString id;
        quint32 priority;
        QString icon;
    };
    const MivoSubscriptionType subscription("display", "id", 7, "icon");
    static_assert(!std::is_polymorphic<MivoSubscriptionType>::value, "");
    QCOMPARE(fieldOf(subscription, &Fields::display), QString("display"));
    QCOMPARE(fieldOf(subscription, &Fields::id), QString("id"));
    QCOMPARE(fieldOf(subscription, &Fields::priority), 7U);
    QCOMPARE(fieldOf(subscription, &Fields::icon), QString("icon"));
}

void tst_Layout::resource()
{
    MivoBuddyResourceType type("name", "icon");
    QVERIFY(startsWithFields(&type, type.name, type.icon));

    struct Fields
    {
        MivoBuddyResourceType* type;
        MivoPresence presence;
    };
    const MivoBuddyResource resource(&type, MivoPresence(nullptr, "here"));
    QCOMPARE(fieldOf(resource, &Fields::type), &type);
    QCOMPARE(fieldOf(resource, &Fields::presence), MivoPresence(nullptr, "here"));
}

void tst_Layout::field()
{
    const MivoField field("label", "id", 10, 0, 5, "group");
    static_assert(sizeof(MivoField) == sizeof(void*), "");
    const MivoFieldPrivate* const d = MivoFieldPrivate::get(field);
    QVERIFY(startsWithFields(d, d->ref, d->type, d->label, d->id, d->group, d->doubleSpinBoxMax,
                             d->doubleSpinBoxMin, d->doubleValue, d->comboBoxItems, d->text,
                             d->action, d->readOnly, d->visible, d->pressed, d->imgData));
    static_assert(sizeof(d->ref) == 4 && sizeof(d->type) == 4, "");
    const void* const slots_[][4] = {
        {&d->doubleSpinBoxMax, &d->maxTextLength, &d->spinBoxMax, &d->selectedIndex},
        {&d->doubleSpinBoxMin, &d->spinBoxMin, &d->spinBoxMin, &d->spinBoxMin},
        {&d->doubleValue, &d->checked, &d->intValue, &d->intValue},
    };
    for (const auto& slot : slots_) {
        for (const void* const member : slot)
            QCOMPARE(member, slot[0]);
    }
}

void tst_Layout::buffer()
{
    struct Fields
    {
        long size;
        unsigned char* data;
        bool ownsData;
        bool inUse;
        QMutex* mutex;
        QWaitCondition* condition;
        int id;
    };
    static_assert(!std::is_polymorphic<MivoBuffer>::value, "");
    MivoBuffer buffer(16, true);
    buffer.setInUse();
    QCOMPARE(fieldOf(buffer, &Fields::size), 16L);
    QCOMPARE(fieldOf(buffer, &Fields::data), buffer.getData());
    QVERIFY(fieldOf(buffer, &Fields::ownsData));
    QVERIFY(fieldOf(buffer, &Fields::inUse));
    QMutex* const mutex = fieldOf(buffer, &Fields::mutex);
    mutex->lock(); // a mutex it is, and nobody holds it
    mutex->unlock();
    QVERIFY(fieldOf(buffer, &Fields::condition));
    QCOMPARE(fieldOf(buffer, &Fields::id), buffer.getId());
    buffer.release();
    QVERIFY(!fieldOf(buffer, &Fields::inUse));

    unsigned char bytes[4] = {};
    const MivoBuffer foreign(4, bytes, false);
    QCOMPARE(fieldOf(foreign, &Fields::data), &bytes[0]);
    QVERIFY(!fieldOf(foreign, &Fields::ownsData));
    QVERIFY(!fieldOf(foreign, &Fields::mutex));
    QVERIFY(!fieldOf(foreign, &Fields::condition));
}

void tst_Layout::ring()
{
    struct Fields : Removable
    {
        QVector<MivoBuffer*> buffers;
        int nextIndex;
        int count;
        int bufferSize;
    };
    MivoRingBuffer ring(3, 16);
    MivoBuffer* const first = ring.getBuffer();
    first->release();
    QCOMPARE(fieldOf(ring, &Fields::buffers).size(), 3);
    QCOMPARE(fieldOf(ring, &Fields::buffers).at(0), first);
    QCOMPARE(fieldOf(ring, &Fields::nextIndex), 1);
    QCOMPARE(fieldOf(ring, &Fields::count), 3);
    QCOMPARE(fieldOf(ring, &Fields::bufferSize), 16);
}

void tst_Layout::collector()
{
    const MivoGarbageCollector collector;
    const MivoGarbageCollectorPrivate* const d = MivoGarbageCollectorPrivate::get(collector);
    struct Base : QObject
    {
        QList<MivoRemovable*> removables;
        bool removeRequested;
        QMutex mutex;
        QTimer* timer;
    };
    const auto& fields = reinterpret_cast<const Base&>(*static_cast<const QObject*>(d));
    QCOMPARE(static_cast<const void*>(&fields.removables),
             static_cast<const void*>(&d->removables));
    QCOMPARE(&fields.removeRequested, &d->removeRequested);
    QCOMPARE(static_cast<const void*>(&fields.mutex), static_cast<const void*>(&d->mutex));
    QCOMPARE(static_cast<const void*>(&fields.timer), static_cast<const void*>(&d->timer));
}

void tst_Layout::resolution()
{
    struct Fields
    {
        float ratio;
        int baseWidth;
        QList<QSize> sizes;
    };
    static_assert(!std::is_polymorphic<MivoResolution>::value, "");
    const MivoResolution resolution(2, 160);
    QCOMPARE(fieldOf(resolution, &Fields::ratio), 2.0F);
    QCOMPARE(fieldOf(resolution, &Fields::baseWidth), 160);
    QCOMPARE(fieldOf(resolution, &Fields::sizes).first(), QSize(192, 96));
}

void tst_Layout::virtualOperations()
{
#ifdef __x86_64__
    QCOMPARE(virtualSlot(&MivoRemovable::isUnused), 0);
    // A virtual destructor takes two entries.
    QCOMPARE(virtualSlot(&Behind<Removable>::own), 3);
    QCOMPARE(virtualSlot(&Behind<MivoRingBuffer>::own), 3);
    QCOMPARE(virtualSlot(&Behind<MivoBuddy>::own), 2);
    QCOMPARE(virtualSlot(&Behind<MivoBuddyGroup>::own), 2);
    const int behindEvent = virtualSlot(&Behind<QTimerEvent>::own);
    QCOMPARE(virtualSlot(&Behind<MivoCallActionEvent>::own), behindEvent);
    QCOMPARE(virtualSlot(&Behind<MivoCallSlotEvent>::own), behindEvent);
#else
    QSKIP("The layout of virtual tables is known for x86-64 only");
#endif
}

QTEST_GUILESS_MAIN(tst_Layout)

#include "tst_layout.moc"
