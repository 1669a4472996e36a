#include "MivoArg.h"
#include "MivoArg_p.h"
#include "MivoBuddy.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyResource.h"
#include "MivoField.h"
#include "MivoPresence.h"
#include "MivoService.h"
#include "MivoVideoClip.h"
#include "MivoXmlNode.h"

#include "TestErrors.h"

#include <QtTest>

#include <cstdlib>
#include <functional>
#include <new>

namespace {

// What the operators below do and see in this thread.
thread_local int allocationsUntilFailure = 0; ///< 0: none fails
thread_local int nonThrowingAllocations = 0;
thread_local int throwingAllocations = 0;
thread_local int firstThrowingFailure = 0; ///< it and all that follow fail; 0: none fails
thread_local int livingAllocations = 0; ///< of both kinds

void* allocate(std::size_t size)
{
    void* const memory = std::malloc(size ? size : 1);
    if (memory)
        ++livingAllocations;
    return memory;
}

void release(void* memory)
{
    if (memory)
        --livingAllocations;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size)
{
    ++throwingAllocations;
    if (firstThrowingFailure == 0 || throwingAllocations < firstThrowingFailure) {
        if (void* const memory = allocate(size))
            return memory;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++nonThrowingAllocations;
    if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0)
        return nullptr;
    return allocate(size);
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    release(memory);
}

namespace {

struct Maker
{
    const char* name;
    std::function<MivoArg()> make;
};

template <class T>
Maker maker(const char* name, const T& value)
{
    return {name, [value] { return MivoArg(value); }};
}

/** A row per constructor. */
const std::vector<Maker>& makers()
{
    static int pointee = 0;
    static const std::vector<Maker> all = {
        maker<char>("Char", 'A'),
        maker<unsigned char>("UChar", 65),
        maker<int>("Int", 65),
        maker<unsigned int>("UInt", 65),
        maker<long long>("Int64", 65),
        maker<unsigned long long>("UInt64", 65),
        maker<float>("Float", 0.5f),
        maker<double>("Double", 0.5),
        maker<QString>("String", "text"),
        maker<QStringList>("StringList",
                           QStringList() << "a"
                                         << "b"),
        maker<bool>("Bool", true),
        maker<void*>("Pointer", &pointee),
        maker<QList<void*>>("PointerList", QList<void*>() << &pointee),
        maker<MivoPlugin*>("Plugin", nullptr),
        maker<MivoField>("Field", MivoField("label", "id", "group")),
        maker<QList<MivoField>>("FieldList", QList<MivoField>() << MivoField()),
        maker<MivoXmlNode>("XmlNode", MivoXmlNode("a")),
        maker<MivoBuddy>("Buddy", MivoBuddyGroup("Friends")),
        maker<MivoBuddyResource>("BuddyResource", MivoBuddyResource()),
        maker<MivoAccountConnection*>("Account", nullptr),
        maker<MivoPluginAction>("PluginAction",
                                MivoPluginAction(nullptr, nullptr, QList<MivoArg>() << 1)),
        maker<MivoPresence>("Presence", MivoPresence(nullptr, "text")),
        maker<MivoGuiEventsReceiver*>("GuiEventsReceiver", nullptr),
        maker<MivoVideoClip>("VideoClip", MivoVideoClip()),
        maker<QList<MivoArg>>("ArgList", QList<MivoArg>() << 1 << QString("a")),
        maker<MivoService>("Service", MivoService("n", "d", "p", MivoPluginAction())),
        maker<QList<MivoService>>("ServiceList", QList<MivoService>() << MivoService()),
    };
    return all;
}

} // namespace

class tst_MivoArgAllocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyConstructorIsTried();
    void failedAllocationThrowsAndLeaksNothing_data();
    void failedAllocationThrowsAndLeaksNothing();
    void constructionCostsTwoAllocationsAndEndsWithNone_data();
    void constructionCostsTwoAllocationsAndEndsWithNone();
    void copyingAllocatesNothing();
    void emptyValueAllocatesNothing();
    void failedConstructionLeavesATargetAlone();
    void destructionWithoutMemoryLeaksNothing_data();
    void destructionWithoutMemoryLeaksNothing();
};

void tst_MivoArgAllocation::everyConstructorIsTried()
{
    int number = 0;
    for (const Maker& each : makers())
        QCOMPARE(each.make().getTypeName(), mivo_arg_type(MivoArg::Type(++number)));
    for (const Maker& each : makers())
        QCOMPARE(each.make().getTypeName(), QString("MivoArg::%1").arg(each.name));
    QCOMPARE(number, 27);
}

void tst_MivoArgAllocation::failedAllocationThrowsAndLeaksNothing_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("failing");

    for (int index = 0; index < int(makers().size()); ++index) {
        for (const int failing : {1, 2})
            QTest::addRow("%s, allocation %d", makers()[index].name, failing) << index << failing;
    }
}

void tst_MivoArgAllocation::failedAllocationThrowsAndLeaksNothing()
{
    QFETCH(int, index);
    QFETCH(int, failing);
    const std::function<MivoArg()>& make = makers()[index].make;

    const int livingBefore = livingAllocations;
    char message[64] = "";
    allocationsUntilFailure = failing;
    try {
        make();
    } catch (const std::runtime_error& error) {
        qstrncpy(message, error.what(), sizeof message);
    }
    const bool failed = allocationsUntilFailure == 0;
    allocationsUntilFailure = 0;
    const int livingAfter = livingAllocations;

    QVERIFY(failed);
    QCOMPARE(QByteArray(message), QByteArray("MivoArg: out of memory"));
    QCOMPARE(livingAfter, livingBefore);
}

void tst_MivoArgAllocation::constructionCostsTwoAllocationsAndEndsWithNone_data()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < int(makers().size()); ++index)
        QTest::newRow(makers()[index].name) << index;
}

void tst_MivoArgAllocation::constructionCostsTwoAllocationsAndEndsWithNone()
{
    QFETCH(int, index);
    const std::function<MivoArg()>& make = makers()[index].make;

    const int livingBefore = livingAllocations;
    const int allocationsBefore = nonThrowingAllocations;
    int living = 0;
    int allocations = 0;
    {
        const MivoArg arg = make();
        living = livingAllocations - livingBefore;
        allocations = nonThrowingAllocations - allocationsBefore;
    }
    const int livingAfter = livingAllocations;

    QCOMPARE(allocations, 2);
    QCOMPARE(living, 2);
    QCOMPARE(livingAfter, livingBefore);
}

void tst_MivoArgAllocation::copyingAllocatesNothing()
{
    const MivoArg arg(QStringList() << "a"
                                    << "b");
    MivoArg target;
    const int livingBefore = livingAllocations;
    const int allocationsBefore = nonThrowingAllocations;
    const MivoArg copy(arg);
    target = copy;
    const MivoArg moved(std::move(target));
    const int living = livingAllocations;
    const int allocations = nonThrowingAllocations;
    QCOMPARE(living, livingBefore);
    QCOMPARE(allocations, allocationsBefore);
    QCOMPARE(moved.toStringList(),
             QStringList() << "a"
                           << "b");
}

void tst_MivoArgAllocation::emptyValueAllocatesNothing()
{
    const int livingBefore = livingAllocations;
    const MivoArg arg;
    const int living = livingAllocations;
    QCOMPARE(living, livingBefore);
    QCOMPARE(arg.getType(), MivoArg::None);
}

void tst_MivoArgAllocation::failedConstructionLeavesATargetAlone()
{
    MivoArg target(1);
    for (const int failing : {1, 2}) {
        allocationsUntilFailure = failing;
        const QString error = errorOf([&] { target = MivoArg(2); });
        allocationsUntilFailure = 0;
        QCOMPARE(error, QString("MivoArg: out of memory"));
        QCOMPARE(target.toInt(), 1);
    }
}

void tst_MivoArgAllocation::destructionWithoutMemoryLeaksNothing_data()
{
    QTest::addColumn<int>("firstFailure");
    for (int firstFailure = 1; firstFailure <= 3; ++firstFailure)
        QTest::addRow("from allocation %d on", firstFailure) << firstFailure;
}

// The values that are still to be destroyed are kept in a list, which grows when memory allows it.
void tst_MivoArgAllocation::destructionWithoutMemoryLeaksNothing()
{
    QFETCH(int, firstFailure);

    const MivoArg witness(1);
    const int livingBefore = livingAllocations;
    {
        QList<MivoArg> inner;
        for (int i = 0; i < 5; ++i)
            inner << MivoArg(QList<MivoArg>() << witness << MivoArg(QList<MivoArg>() << witness));
        const MivoArg nested(inner);
        inner.clear();
        throwingAllocations = 0;
        firstThrowingFailure = firstFailure;
    }
    const int failures = throwingAllocations - firstFailure + 1;
    firstThrowingFailure = 0;
    const int livingAfter = livingAllocations;

    QVERIFY(failures > 0);
    QCOMPARE(livingAfter, livingBefore);
    QCOMPARE(MivoArgPrivate::get(witness)->ref.loadAcquire(), 1);
}

QTEST_APPLESS_MAIN(tst_MivoArgAllocation)

#include "tst_mivoarg_allocation.moc"
