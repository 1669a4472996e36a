#include "MivoArg.h"

#include "MivoAccountConnection.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyResourceType.h"
#include "MivoField.h"
#include "MivoGuiEventsReceiver.h"
#include "MivoPresence.h"
#include "MivoPresenceType.h"
#include "MivoService.h"
#include "MivoVideoClip.h"
#include "MivoXmlNode.h"

#include "TestBuddies.h"
#include "TestErrors.h"
#include "TestPlugin.h"
#include "TestThreads.h"

#include <QtTest>

#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

/** The names of the kinds, by number. */
const char* const kindNames[]
    = {"None",      "Char",          "UChar",   "Int",          "UInt",       "Int64",
       "UInt64",    "Float",         "Double",  "String",       "StringList", "Bool",
       "Pointer",   "PointerList",   "Plugin",  "Field",        "FieldList",  "XmlNode",
       "Buddy",     "BuddyResource", "Account", "PluginAction", "Presence",   "GuiEventsReceiver",
       "VideoClip", "ArgList",       "Service", "ServiceList",  "Undefined"};

QString longName(const char* kind)
{
    return QString("MivoArg::%1").arg(kind);
}

// What is global lives as long as the program; lists are erased from by the iterators of their kind.
// clazy:excludeall=non-pod-global-static,strict-iterators
int pointee = 0;
TestPlugin pluginA;
TestPlugin pluginB;
MivoAccountConnection accountA("a", "A");
MivoAccountConnection accountB("b", "B");
MivoGuiEventsReceiver receiverA;
MivoGuiEventsReceiver receiverB;
MivoPresenceType presenceType;
MivoBuddyResourceType resourceTypeA("a", QString());
MivoBuddyResourceType resourceTypeB("b", QString());

MivoPluginAction actionWith(const MivoArg& argument)
{
    return MivoPluginAction(&pluginA, TestPlugin::action(&TestPlugin::act),
                            QList<MivoArg>() << argument);
}

MivoField spinBox(int value)
{
    return MivoField("label", "id", 10, 0, value, "group");
}

MivoVideoClip clip(const QString& source)
{
    MivoVideoClip clip;
    clip.width = 640;
    clip.height = 480;
    clip.framesPerSecond = 25;
    clip.durationMs = 0x100000001ULL;
    clip.source = source;
    return clip;
}

bool isSameClip(const MivoVideoClip& a, const MivoVideoClip& b)
{
    return a.width == b.width && a.height == b.height && a.framesPerSecond == b.framesPerSecond
        && a.durationMs == b.durationMs && a.source == b.source;
}

MivoService service(const QString& name)
{
    return MivoService(name, "display", "protocol", actionWith(1));
}

/** What a kind is tried with. Both functions make a new record at each call. */
struct Sample
{
    MivoArg::Type kind;
    std::function<MivoArg()> make;
    std::function<MivoArg()> makeOther; ///< a value of the same kind with other contents
    std::function<bool(const MivoArg&)> readsAsMade; ///< through the accessor of the kind
    bool equalByContents;

    const char* name() const { return kindNames[kind]; }
};

template <class T>
Sample sample(MivoArg::Type kind, T (MivoArg::*accessor)() const, T value, T other,
              bool equalByContents = true)
{
    return {kind, [=] { return MivoArg(value); }, [=] { return MivoArg(other); },
            [=](const MivoArg& arg) { return (arg.*accessor)() == value; }, equalByContents};
}

/** A row per kind that a constructor makes. */
const QList<Sample>& samples()
{
    static const QList<Sample> all = {
        sample<char>(MivoArg::Char, &MivoArg::toChar, 'A', 'B'),
        sample<unsigned char>(MivoArg::UChar, &MivoArg::toUChar, 65, 66),
        sample<int>(MivoArg::Int, &MivoArg::toInt, 65, -65),
        sample<unsigned int>(MivoArg::UInt, &MivoArg::toUInt, 65, 66),
        sample<long long>(MivoArg::Int64, &MivoArg::toInt64, 65, 66),
        sample<unsigned long long>(MivoArg::UInt64, &MivoArg::toUInt64, 65, 66),
        sample<float>(MivoArg::Float, &MivoArg::toFloat, 65, 66),
        sample<double>(MivoArg::Double, &MivoArg::toDouble, 65, 66),
        sample<QString>(MivoArg::String, &MivoArg::toString, "65", "66"),
        sample<QStringList>(MivoArg::StringList, &MivoArg::toStringList, {"6", "5"}, {"5", "6"}),
        sample<bool>(MivoArg::Bool, &MivoArg::toBool, true, false),
        sample<void*>(MivoArg::Pointer, &MivoArg::toPointer, &pointee, nullptr),
        sample<QList<void*>>(MivoArg::PointerList, &MivoArg::toPointerList, {&pointee, nullptr},
                             {nullptr, &pointee}),
        sample<MivoPlugin*>(MivoArg::Plugin, &MivoArg::toPlugin, &pluginA, &pluginB),
        sample<MivoField>(MivoArg::Field, &MivoArg::toField, spinBox(5), spinBox(6)),
        sample<QList<MivoField>>(MivoArg::FieldList, &MivoArg::toFieldList,
                                 {spinBox(5), spinBox(6)}, {spinBox(6), spinBox(5)}),
        sample<MivoXmlNode>(MivoArg::XmlNode, &MivoArg::toXmlNode, MivoXmlNode("a"),
                            MivoXmlNode("a")),
        sample<MivoBuddy>(MivoArg::Buddy, &MivoArg::toBuddy, makeContact("a"), makeContact("a")),
        sample<MivoBuddyResource>(MivoArg::BuddyResource, &MivoArg::toBuddyResource,
                                  MivoBuddyResource(&resourceTypeA, MivoPresence()),
                                  MivoBuddyResource(&resourceTypeB, MivoPresence())),
        sample<MivoAccountConnection*>(MivoArg::Account, &MivoArg::toAccount, &accountA, &accountB),
        sample<MivoPluginAction>(MivoArg::PluginAction, &MivoArg::toPluginAction,
                                 actionWith(QString("a")), actionWith(QString("b"))),
        sample<MivoPresence>(MivoArg::Presence, &MivoArg::toPresence,
                             MivoPresence(&presenceType, "a"), MivoPresence(&presenceType, "b")),
        sample<MivoGuiEventsReceiver*>(MivoArg::GuiEventsReceiver, &MivoArg::toGuiEventsReceiver,
                                       &receiverA, &receiverB, false),
        {MivoArg::VideoClip, [] { return MivoArg(clip("a")); }, [] { return MivoArg(clip("b")); },
         [](const MivoArg& arg) { return isSameClip(arg.toVideoClip(), clip("a")); }, false},
        sample<QList<MivoArg>>(MivoArg::ArgList, &MivoArg::toArgList, {1, 2}, {1}, false),
        sample<MivoService>(MivoArg::Service, &MivoArg::toService, service("a"), service("b"),
                            false),
        sample<QList<MivoService>>(MivoArg::ServiceList, &MivoArg::toServiceList,
                                   {service("a"), service("b")}, {service("b"), service("a")},
                                   false),
    };
    return all;
}

const Sample& sampleOf(int kind)
{
    for (const Sample& each : samples()) {
        if (each.kind == kind)
            return each;
    }
    qFatal("No sample of kind %d", kind);
}

/**
 * A value of a kind that no constructor makes. Its `data` is the address of a variable: the test
 * crashes if anything is ever done to it.
 */
MivoArg handMade(int kind)
{
    MivoArg arg(1);
    MivoArgPrivate* const record = MivoArgPrivate::get(arg);
    delete static_cast<int*>(record->data);
    record->data = &pointee;
    record->type = static_cast<MivoArg::Type>(kind);
    return arg;
}

/** Values of all kinds there are, with their names, for the tables of one kind against another. */
struct Any
{
    QString name;
    std::function<MivoArg()> make;
};

QList<Any> anyKind()
{
    QList<Any> all;
    all.append({"None", [] { return MivoArg(); }});
    for (const Sample& each : samples())
        all.append({each.name(), each.make});
    all.append({"Undefined", [] { return handMade(28); }});
    all.append({"Unknown", [] { return handMade(29); }});
    return all;
}

/** A variant of @p kind that holds @p list, at once or in an action. */
MivoArg holderOf(const QList<MivoArg>& list, MivoArg::Type kind)
{
    const MivoPluginAction action(&pluginA, nullptr, list);
    const MivoService service("n", "d", "p", action);
    switch (kind) {
    case MivoArg::PluginAction:
        return action;
    case MivoArg::Service:
        return service;
    case MivoArg::ServiceList:
        return QList<MivoService>() << service;
    default:
        return list;
    }
}

/** The list that holderOf() has put into @p holder. */
QList<MivoArg> heldBy(const MivoArg& holder)
{
    switch (holder.getType()) {
    case MivoArg::PluginAction:
        return holder.toPluginAction().getActionData();
    case MivoArg::Service:
        return holder.toService().getAction().getActionData();
    case MivoArg::ServiceList:
        return holder.toServiceList().at(0).getAction().getActionData();
    default:
        return holder.toArgList();
    }
}

MivoArg deeplyNested(int depth, const std::function<MivoArg(const QList<MivoArg>&)>& wrap)
{
    MivoArg arg(depth);
    for (int i = 0; i < depth; ++i) {
        MivoArg outer = wrap(QList<MivoArg>() << arg);
        swap(arg, outer);
    }
    return arg;
}

/** Makes a value that shares the given text. */
using MakeHolding = MivoArg (*)(const QString&);

} // namespace

Q_DECLARE_METATYPE(MakeHolding)

class tst_MivoArg : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void numberHasAName_data();
    void numberHasAName();
    void emptyValueIsNoneWithoutAName();
    void recordHasTheAgreedLayout();
    void copiesShareOneRecord();
    void movedFromValueIsEmpty();
    void literalsAndPointersToConstDoNotConvert();
    void nothingThatCanBeCalledConverts();
    void everyListedTypeConvertsImplicitly();
    void pluginThatPassesItselfIsAPlugin();

    void everyKindThatIsMadeIsTried();
    void valueReadsAsItWasMade_data();
    void valueReadsAsItWasMade();
    void limitsOfTheNumbersSurvive();
    void nullAndEmptyTextsStayApart();
    void accessorAnswersACopy();
    void handlesReferToWhatTheyWereMadeFrom();
    void videoClipIsCopiedFieldByField();
    void serviceIsKeptWhole();
    void anotherKindsAccessorThrowsAndKeepsTheValue_data();
    void anotherKindsAccessorThrowsAndKeepsTheValue();

    void sharedRecordIsEqual_data();
    void sharedRecordIsEqual();
    void separatelyMadeValuesCompareByTheRuleOfTheirKind_data();
    void separatelyMadeValuesCompareByTheRuleOfTheirKind();
    void differentKindsAreNeverEqual_data();
    void differentKindsAreNeverEqual();
    void notANumberEqualsItsOwnCopiesOnly();
    void zeroesOfBothSignsAreEqual();
    void nullStringEqualsAnEmptyOne();
    void listsCompareElementByElement();

    void emptyValueTakesAnyKind_data();
    void emptyValueTakesAnyKind();
    void assigningTheSameKindTakesTheRecord_data();
    void assigningTheSameKindTakesTheRecord();
    void assigningAnotherKindThrowsAndKeepsTheValue_data();
    void assigningAnotherKindThrowsAndKeepsTheValue();
    void assignmentReturnsACopy();
    void assigningItselfChangesNothing();
    void assigningFromInsideTheOwnValueIsSafe();
    void assigningATemporaryFollowsTheKindRuleAndLeavesTheSource();
    void copyMadeBeforeAnAssignmentKeepsTheOldValue();
    void swapExchangesAnyKinds();

    void heldValueEndsWithTheLastCopy();
    void heldValueIsDestroyedExactlyOnce_data();
    void heldValueIsDestroyedExactlyOnce();
    void pointerKindsNeverTouchThePointee();
    void unknownKindFreesTheRecordOnly_data();
    void unknownKindFreesTheRecordOnly();
    void recordOfKindNoneIsLikeTheEmptyValue();
    void depthOfNestingIsNotLimitedByTheStack_data();
    void depthOfNestingIsNotLimitedByTheStack();

    void listsOfMixedKindsCanBeEdited();
    void replacingAnElementOfAListAssigns();
    void overwritingAKeyOfAHashAssigns();
    void removingAllThatAreEqualAssignsOnQt6();
    void qualifiedSwapAssigns();

    void equalityOfNestedActionsIsNotLimitedByTheStack_data();
    void equalityOfNestedActionsIsNotLimitedByTheStack();
};

void tst_MivoArg::numberHasAName_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("name");

    int number = 0;
    for (const char* const name : kindNames) {
        QTest::addRow("%d", number) << number << longName(name);
        ++number;
    }
    QCOMPARE(number, 29);
    for (const int unknown :
         {29, 30, 1000, std::numeric_limits<int>::max(), -1, -28, std::numeric_limits<int>::min()})
        QTest::addRow("%d", unknown) << unknown << "MivoArg::Unknown";
}

void tst_MivoArg::numberHasAName()
{
    QFETCH(int, number);
    QFETCH(QString, name);
    QCOMPARE(mivo_arg_type(static_cast<MivoArg::Type>(number)), name);
}

void tst_MivoArg::emptyValueIsNoneWithoutAName()
{
    QCOMPARE(MivoArg().getType(), MivoArg::None);
    QVERIFY(MivoArg().getTypeName().isNull());
    QCOMPARE(mivo_arg_type(MivoArg::None), QString("MivoArg::None"));
    QVERIFY(!MivoArgPrivate::get(MivoArg()));
}

void tst_MivoArg::recordHasTheAgreedLayout()
{
    static_assert(sizeof(MivoArg) == sizeof(void*), "");
    static_assert(std::is_standard_layout<MivoArgPrivate>::value, "");
    static_assert(sizeof(MivoArg::Type) == 4, "");
    static_assert(std::is_same<decltype(MivoArgPrivate::ref), QAtomicInt>::value, "");
    static_assert(std::is_same<decltype(MivoArgPrivate::data), void*>::value, "");
    static_assert(offsetof(MivoArgPrivate, type) == 0, "");
    static_assert(offsetof(MivoArgPrivate, ref) == 4, "");
    static_assert(offsetof(MivoArgPrivate, data) == 8, "");
    static_assert(sizeof(MivoArgPrivate) == 8 + sizeof(void*), "");

    const MivoArg arg(5);
    const MivoArgPrivate* const record = MivoArgPrivate::get(arg);
    QCOMPARE(record->type, MivoArg::Int);
    QCOMPARE(handlesOf(arg), 1);
    QCOMPARE(*static_cast<int*>(record->data), 5);
}

void tst_MivoArg::copiesShareOneRecord()
{
    const MivoArg arg(QString("a"));
    {
        const MivoArg copy(arg);
        QCOMPARE(MivoArgPrivate::get(copy), MivoArgPrivate::get(arg));
        QCOMPARE(handlesOf(arg), 2);
    }
    QCOMPARE(handlesOf(arg), 1);
}

void tst_MivoArg::movedFromValueIsEmpty()
{
    static_assert(std::is_nothrow_move_constructible<MivoArg>::value, "");
    MivoArg source(5);
    const MivoArg target(std::move(source));
    QCOMPARE(source.getType(), MivoArg::None);
    QCOMPARE(target.toInt(), 5);
    QCOMPARE(handlesOf(target), 1);
}

void tst_MivoArg::literalsAndPointersToConstDoNotConvert()
{
    static_assert(!std::is_constructible<MivoArg, const char*>::value, "");
    static_assert(!std::is_constructible<MivoArg, const char(&)[2]>::value, "");
    static_assert(!std::is_constructible<MivoArg, const wchar_t*>::value, "");
    static_assert(!std::is_constructible<MivoArg, const void*>::value, "");
    static_assert(!std::is_constructible<MivoArg, const MivoPlugin*>::value, "");
    static_assert(!std::is_constructible<MivoArg, const MivoAccountConnection*>::value, "");
    static_assert(!std::is_constructible<MivoArg, const MivoGuiEventsReceiver*>::value, "");
    static_assert(!std::is_constructible<MivoArg, const QObject*>::value, "");
    static_assert(!std::is_constructible<MivoArg, std::nullptr_t>::value, "");
    static_assert(!std::is_convertible<const char*, MivoArg>::value, "");
    static_assert(!std::is_convertible<std::nullptr_t, MivoArg>::value, "");
}

void tst_MivoArg::nothingThatCanBeCalledConverts()
{
    using Function = int(const char*);
    using Variadic = int(const char*, ...);
    const auto lambda = [] {};
    const auto variadic = [](int, ...) noexcept {};
    auto changing = []() mutable {};
    static_assert(!std::is_constructible<MivoArg, Function>::value, "");
    static_assert(!std::is_constructible<MivoArg, Function*>::value, "");
    static_assert(!std::is_constructible<MivoArg, void (*)() noexcept>::value, "");
    static_assert(!std::is_constructible<MivoArg, Variadic>::value, "");
    static_assert(!std::is_constructible<MivoArg, Variadic*>::value, "");
    static_assert(!std::is_constructible<MivoArg, int (*)(...) noexcept>::value, "");
    static_assert(!std::is_constructible<MivoArg, decltype(lambda)>::value, "");
    static_assert(!std::is_constructible<MivoArg, decltype(variadic)>::value, "");
    static_assert(!std::is_constructible<MivoArg, decltype(changing)>::value, "");
    static_assert(!std::is_constructible<MivoArg, decltype(changing)&>::value, "");
    static_assert(!std::is_constructible<MivoArg, decltype(&MivoPlugin::name)>::value, "");
    static_assert(!std::is_convertible<decltype(lambda), MivoArg>::value, "");
    // Classes that convert to bool themselves are not meant.
    static_assert(std::is_constructible<MivoArg, std::true_type>::value, "");
    QCOMPARE(MivoArg(std::true_type()).getType(), MivoArg::Bool);
}

void tst_MivoArg::everyListedTypeConvertsImplicitly()
{
    static_assert(std::is_convertible<char, MivoArg>::value, "");
    static_assert(std::is_convertible<unsigned char, MivoArg>::value, "");
    static_assert(std::is_convertible<int, MivoArg>::value, "");
    static_assert(std::is_convertible<unsigned int, MivoArg>::value, "");
    static_assert(std::is_convertible<long long, MivoArg>::value, "");
    static_assert(std::is_convertible<unsigned long long, MivoArg>::value, "");
    static_assert(std::is_convertible<float, MivoArg>::value, "");
    static_assert(std::is_convertible<double, MivoArg>::value, "");
    static_assert(std::is_convertible<bool, MivoArg>::value, "");
    static_assert(std::is_convertible<QString, MivoArg>::value, "");
    static_assert(std::is_convertible<QStringList, MivoArg>::value, "");
    static_assert(std::is_convertible<void*, MivoArg>::value, "");
    static_assert(std::is_convertible<QList<void*>, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoPlugin*, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoField, MivoArg>::value, "");
    static_assert(std::is_convertible<QList<MivoField>, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoXmlNode, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoBuddy, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoBuddyContact, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoBuddyGroup, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoBuddyResource, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoAccountConnection*, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoPluginAction, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoPresence, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoGuiEventsReceiver*, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoVideoClip, MivoArg>::value, "");
    static_assert(std::is_convertible<QList<MivoArg>, MivoArg>::value, "");
    static_assert(std::is_convertible<MivoService, MivoArg>::value, "");
    static_assert(std::is_convertible<QList<MivoService>, MivoArg>::value, "");
}

void tst_MivoArg::pluginThatPassesItselfIsAPlugin()
{
    const MivoArg arg = pluginA.asArgument();
    QCOMPARE(arg.getType(), MivoArg::Plugin);
    QCOMPARE(arg.toPlugin(), static_cast<MivoPlugin*>(&pluginA));
    QObject object;
    QCOMPARE(MivoArg(&object).getType(), MivoArg::Pointer);
}

void tst_MivoArg::everyKindThatIsMadeIsTried()
{
    QList<int> kinds;
    for (const Sample& each : samples())
        kinds << each.kind;
    QList<int> expected;
    for (int kind = MivoArg::Char; kind < MivoArg::Undefined; ++kind)
        expected << kind;
    QCOMPARE(kinds, expected);
    QCOMPARE(anyKind().size(), 30); // with None, Undefined and a number that is no kind
}

void tst_MivoArg::valueReadsAsItWasMade_data()
{
    QTest::addColumn<int>("kind");
    for (const Sample& each : samples())
        QTest::newRow(each.name()) << int(each.kind);
}

void tst_MivoArg::valueReadsAsItWasMade()
{
    QFETCH(int, kind);
    const Sample& tried = sampleOf(kind);
    const MivoArg arg = tried.make();
    QCOMPARE(arg.getType(), tried.kind);
    QCOMPARE(arg.getTypeName(), longName(tried.name()));
    QVERIFY(tried.readsAsMade(arg));
    QVERIFY(tried.readsAsMade(MivoArg(arg)));
    QVERIFY(!tried.readsAsMade(tried.makeOther()));
}

void tst_MivoArg::limitsOfTheNumbersSurvive()
{
    QCOMPARE(MivoArg(char(-128)).toChar(), char(-128));
    QCOMPARE(MivoArg('\0').toChar(), '\0');
    QCOMPARE(MivoArg(static_cast<unsigned char>(255)).toUChar(), static_cast<unsigned char>(255));
    QCOMPARE(MivoArg(std::numeric_limits<int>::min()).toInt(), -2147483647 - 1);
    QCOMPARE(MivoArg(std::numeric_limits<int>::max()).toInt(), 2147483647);
    QCOMPARE(MivoArg(4294967295u).toUInt(), 4294967295u);
    QCOMPARE(MivoArg(std::numeric_limits<long long>::min()).toInt64(), -9223372036854775807LL - 1);
    QCOMPARE(MivoArg(18446744073709551615ULL).toUInt64(), 18446744073709551615ULL);
    QVERIFY(MivoArg(0.1f).toFloat() == 0.1f);
    QVERIFY(MivoArg(0.1).toDouble() == 0.1);
    QVERIFY(MivoArg(std::numeric_limits<double>::denorm_min()).toDouble() > 0);
    QVERIFY(qIsInf(MivoArg(-qInf()).toDouble()));
    QVERIFY(qIsNaN(MivoArg(qQNaN()).toDouble()));
    QCOMPARE(MivoArg(false).toBool(), false);
    QCOMPARE(MivoArg(short(-3)).toInt(), -3);
}

void tst_MivoArg::nullAndEmptyTextsStayApart()
{
    QVERIFY(MivoArg(QString()).toString().isNull());
    QVERIFY(!MivoArg(QString("")).toString().isNull());
    QCOMPARE(MivoArg(QString()).getType(), MivoArg::String);
    const QString text = QString("a") + QChar(0) + QChar(0xd800);
    QCOMPARE(MivoArg(text).toString(), text);
    QCOMPARE(MivoArg(QStringList()).toStringList().size(), 0);
    QCOMPARE(MivoArg(QList<MivoArg>()).toArgList().size(), 0);
    QVERIFY(!MivoArg(static_cast<MivoPlugin*>(nullptr)).toPlugin());
    QCOMPARE(MivoArg(static_cast<void*>(nullptr)).getType(), MivoArg::Pointer);
}

void tst_MivoArg::accessorAnswersACopy()
{
    QString text("a");
    const MivoArg arg(text);
    text.append('b');
    QCOMPARE(arg.toString(), QString("a"));
    QString read = arg.toString();
    read.append('c');
    QCOMPARE(arg.toString(), QString("a"));

    const MivoArg list(QList<MivoArg>() << arg);
    QList<MivoArg> elements = list.toArgList();
    elements.append(1);
    QCOMPARE(list.toArgList().size(), 1);
    QCOMPARE(MivoArgPrivate::get(list.toArgList().at(0)), MivoArgPrivate::get(arg));
}

void tst_MivoArg::handlesReferToWhatTheyWereMadeFrom()
{
    const MivoBuddyContact contact = makeContact("ann");
    const MivoArg buddyArg{MivoBuddy(contact)};
    QVERIFY(buddyArg.toBuddy() == contact);
    QCOMPARE(MivoBuddyPrivate::get(buddyArg.toBuddy()), MivoBuddyPrivate::get(contact));
    QCOMPARE(buddyArg.toBuddy().getType(), MivoBuddy::Contact);
    QCOMPARE(handlesOf(contact), 2);
    QVERIFY(!MivoArg(MivoBuddy()).toBuddy().isValid());

    MivoXmlNode element("a");
    const MivoArg nodeArg(element);
    QVERIFY(nodeArg.toXmlNode() == element);
    nodeArg.toXmlNode().setAttribute("written", QString("through the variant"));
    QCOMPARE(element.getAttribute("written"), QString("through the variant"));
    element.addChild("later");
    QVERIFY(!nodeArg.toXmlNode().getChild("later").isNull());
    QVERIFY(MivoArg(MivoXmlNode()).toXmlNode().isNull());
    QVERIFY(MivoArg(MivoXmlNode()) == MivoArg(MivoXmlNode()));
    // The document lives on in the variant.
    element = MivoXmlNode();
    QCOMPARE(nodeArg.toXmlNode().name(), QString("a"));

    const MivoBuddyResource resource(&resourceTypeA, MivoPresence(&presenceType, "here"));
    QCOMPARE(MivoArg(resource).toBuddyResource().getName(), QString("a"));
    QCOMPARE(MivoArg(resource).toBuddyResource().getPresence().getDescription(), QString("here"));
    QVERIFY(MivoArg(resource) == MivoArg(MivoBuddyResource(&resourceTypeA, MivoPresence())));
    QCOMPARE(MivoArg(MivoPresence(&presenceType, "here")).toPresence().getDescription(),
             QString("here"));

    const MivoPluginAction action = MivoArg(actionWith(7)).toPluginAction();
    QVERIFY(action.isValid());
    QCOMPARE(action.getActionData().at(0).toInt(), 7);
    QVERIFY(MivoArg(actionWith(7))
            != MivoArg(MivoPluginAction(&pluginB, TestPlugin::action(&TestPlugin::act),
                                        QList<MivoArg>() << 7)));
}

void tst_MivoArg::videoClipIsCopiedFieldByField()
{
    static_assert(offsetof(MivoVideoClip, width) == 0, "");
    static_assert(offsetof(MivoVideoClip, height) == 4, "");
    static_assert(offsetof(MivoVideoClip, framesPerSecond) == 8, "");
    static_assert(offsetof(MivoVideoClip, durationMs) == 16, "");
    static_assert(offsetof(MivoVideoClip, source) == 24, "");
    MivoVideoClip made = clip("file");
    const MivoArg arg(made);
    made.width = 1;
    const MivoVideoClip read = arg.toVideoClip();
    QCOMPARE(read.width, 640);
    QCOMPARE(read.height, 480);
    QCOMPARE(read.framesPerSecond, 25);
    QCOMPARE(read.durationMs, Q_UINT64_C(0x100000001));
    QCOMPARE(read.source, QString("file"));
}

void tst_MivoArg::serviceIsKeptWhole()
{
    const QList<MivoService> read
        = MivoArg(QList<MivoService>() << service("a") << service("b")).toServiceList();
    QCOMPARE(read.size(), 2);
    for (const MivoService& each :
         {MivoArg(service("a")).toService(), read.at(0), MivoArg(read.at(0)).toService()}) {
        QCOMPARE(each.getName(), QString("a"));
        QCOMPARE(each.getDisplayName(), QString("display"));
        QCOMPARE(each.getProtocol(), QString("protocol"));
        QVERIFY(each.getAction() == actionWith(1));
    }
    QCOMPARE(read.at(1).getName(), QString("b"));
}

void tst_MivoArg::anotherKindsAccessorThrowsAndKeepsTheValue_data()
{
    QTest::addColumn<QString>("held");
    QTest::addColumn<int>("wanted");

    for (const Any& held : anyKind()) {
        for (const Sample& wanted : samples()) {
            if (held.name != wanted.name())
                QTest::addRow("%s as %s", qPrintable(held.name), wanted.name())
                    << held.name << int(wanted.kind);
        }
    }
}

void tst_MivoArg::anotherKindsAccessorThrowsAndKeepsTheValue()
{
    QFETCH(QString, held);
    QFETCH(int, wanted);
    for (const Any& each : anyKind()) {
        if (each.name != held)
            continue;
        const MivoArg arg = each.make();
        const MivoArgPrivate* const record = MivoArgPrivate::get(arg);
        const Sample& tried = sampleOf(wanted);
        QCOMPARE(
            errorOf([&] { tried.readsAsMade(arg); }),
            QString("MivoArg: cannot convert MivoArg::%1 to MivoArg::%2").arg(held, tried.name()));
        QCOMPARE(MivoArgPrivate::get(arg), record);
        if (record) {
            QCOMPARE(handlesOf(arg), 1);
            QCOMPARE(arg.getTypeName(), "MivoArg::" + held);
        }
        for (const Sample& own : samples()) {
            if (own.name() == held)
                QVERIFY(own.readsAsMade(arg));
        }
    }
}

void tst_MivoArg::sharedRecordIsEqual_data()
{
    QTest::addColumn<int>("index");
    const QList<Any> all = anyKind();
    for (int i = 0; i < all.size(); ++i)
        QTest::newRow(qPrintable(all.at(i).name)) << i;
}

void tst_MivoArg::sharedRecordIsEqual()
{
    QFETCH(int, index);
    const MivoArg arg = anyKind().at(index).make();
    const MivoArg copy(arg);
    QVERIFY(arg == copy);
    QVERIFY(!(arg != copy));
    QVERIFY(arg == arg);
}

void tst_MivoArg::separatelyMadeValuesCompareByTheRuleOfTheirKind_data()
{
    valueReadsAsItWasMade_data();
}

void tst_MivoArg::separatelyMadeValuesCompareByTheRuleOfTheirKind()
{
    QFETCH(int, kind);
    const Sample& tried = sampleOf(kind);
    const MivoArg arg = tried.make();
    QCOMPARE(arg == tried.make(), tried.equalByContents);
    QCOMPARE(arg != tried.make(), !tried.equalByContents);
    QVERIFY(!(arg == tried.makeOther()));
    QVERIFY(arg != tried.makeOther());
}

void tst_MivoArg::differentKindsAreNeverEqual_data()
{
    sharedRecordIsEqual_data();
}

void tst_MivoArg::differentKindsAreNeverEqual()
{
    QFETCH(int, index);
    const QList<Any> all = anyKind();
    const MivoArg arg = all.at(index).make();
    for (int i = 0; i < all.size(); ++i) {
        const bool unequal = arg != all.at(i).make();
        const bool equal = arg == all.at(i).make();
        QCOMPARE(unequal, !equal);
        if (i != index)
            QVERIFY2(unequal, qPrintable(all.at(i).name));
    }
    // Not even to a value of their own number.
    if (arg.getType() >= MivoArg::Undefined)
        QVERIFY(!(arg == all.at(index).make()));
}

void tst_MivoArg::notANumberEqualsItsOwnCopiesOnly()
{
    const MivoArg single(std::numeric_limits<float>::quiet_NaN());
    QVERIFY(single == MivoArg(single));
    QVERIFY(single != MivoArg(std::numeric_limits<float>::quiet_NaN()));
    const MivoArg precise(qQNaN());
    QVERIFY(precise == MivoArg(precise));
    QVERIFY(precise != MivoArg(qQNaN()));
}

void tst_MivoArg::zeroesOfBothSignsAreEqual()
{
    QVERIFY(MivoArg(0.0) == MivoArg(-0.0));
    QVERIFY(MivoArg(0.0f) == MivoArg(-0.0f));
    QVERIFY(std::signbit(MivoArg(-0.0).toDouble()));
}

void tst_MivoArg::nullStringEqualsAnEmptyOne()
{
    QVERIFY(MivoArg(QString()) == MivoArg(QString("")));
    QVERIFY(MivoArg(QString("a")) != MivoArg(QString("A")));
}

void tst_MivoArg::listsCompareElementByElement()
{
    QList<MivoArg> list;
    list << 1 << QString("a") << MivoArg();
    QList<MivoArg> same;
    same << 1 << QString("a") << MivoArg();
    QVERIFY(list == same);
    same << MivoArg();
    QVERIFY(list != same);
    QVERIFY((QList<MivoArg>() << 1) != (QList<MivoArg>() << 1u));
    // An element of a kind that never equals makes the lists unequal, unless it is shared.
    const MivoArg inner((QList<MivoArg>()));
    QVERIFY((QList<MivoArg>() << inner) == (QList<MivoArg>() << inner));
    QVERIFY((QList<MivoArg>() << inner) != (QList<MivoArg>() << MivoArg(QList<MivoArg>())));
}

void tst_MivoArg::emptyValueTakesAnyKind_data()
{
    sharedRecordIsEqual_data();
}

void tst_MivoArg::emptyValueTakesAnyKind()
{
    QFETCH(int, index);
    const MivoArg source = anyKind().at(index).make();
    MivoArg target;
    target = source;
    QCOMPARE(MivoArgPrivate::get(target), MivoArgPrivate::get(source));
    if (MivoArgPrivate::get(source))
        QCOMPARE(handlesOf(source), 2);
}

void tst_MivoArg::assigningTheSameKindTakesTheRecord_data()
{
    valueReadsAsItWasMade_data();
}

void tst_MivoArg::assigningTheSameKindTakesTheRecord()
{
    QFETCH(int, kind);
    const Sample& tried = sampleOf(kind);
    const MivoArg source = tried.make();
    MivoArg target = tried.makeOther();
    const MivoArg oldCopy(target);
    target = source;
    QVERIFY(tried.readsAsMade(target));
    QCOMPARE(MivoArgPrivate::get(target), MivoArgPrivate::get(source));
    QCOMPARE(handlesOf(source), 2);
    QCOMPARE(handlesOf(oldCopy), 1);
}

void tst_MivoArg::assigningAnotherKindThrowsAndKeepsTheValue_data()
{
    QTest::addColumn<int>("source");
    QTest::addColumn<int>("target");

    const QList<Any> all = anyKind();
    for (int source = 0; source < all.size(); ++source) {
        for (int target = 1; target < all.size(); ++target) {
            if (source != target)
                QTest::addRow("%s to %s", qPrintable(all.at(source).name),
                              qPrintable(all.at(target).name))
                    << source << target;
        }
    }
}

void tst_MivoArg::assigningAnotherKindThrowsAndKeepsTheValue()
{
    QFETCH(int, source);
    QFETCH(int, target);
    const QList<Any> all = anyKind();
    const MivoArg from = all.at(source).make();
    MivoArg to = all.at(target).make();
    const MivoArgPrivate* const record = MivoArgPrivate::get(to);
    QCOMPARE(errorOf([&] { to = from; }),
             QString("MivoArg: cannot convert MivoArg::%1 to MivoArg::%2")
                 .arg(all.at(source).name, all.at(target).name));
    QCOMPARE(MivoArgPrivate::get(to), record);
    QCOMPARE(handlesOf(to), 1);
    if (MivoArgPrivate::get(from))
        QCOMPARE(handlesOf(from), 1);
}

void tst_MivoArg::assignmentReturnsACopy()
{
    static_assert(std::is_same<decltype(std::declval<MivoArg&>() = std::declval<const MivoArg&>()),
                               MivoArg>::value,
                  "");
    MivoArg a;
    const MivoArg result = (a = MivoArg(5));
    QCOMPARE(MivoArgPrivate::get(result), MivoArgPrivate::get(a));
    QCOMPARE(handlesOf(a), 2);
}

void tst_MivoArg::assigningItselfChangesNothing()
{
    MivoArg arg(QString("a"));
    const MivoArg& itself = arg;
    arg = itself;
    QCOMPARE(arg.toString(), QString("a"));
    QCOMPARE(handlesOf(arg), 1);
    MivoArg empty;
    const MivoArg& emptyItself = empty;
    empty = emptyItself;
    QCOMPARE(empty.getType(), MivoArg::None);
    const MivoArg copy(arg);
    arg = copy;
    QCOMPARE(handlesOf(arg), 2);
}

void tst_MivoArg::assigningFromInsideTheOwnValueIsSafe()
{
    const MivoArg innermost(QList<MivoArg>() << 5);
    MivoArg arg(QList<MivoArg>() << innermost);
    arg = arg.toArgList().at(0);
    QCOMPARE(arg.toArgList().at(0).toInt(), 5);

    MivoArg outer(QList<MivoArg>() << MivoArg(QList<MivoArg>() << 7));
    const auto* const held = static_cast<QList<MivoArg>*>(MivoArgPrivate::get(outer)->data);
    const MivoArg& inner = held->at(0);
    outer = inner;
    QCOMPARE(outer.toArgList().at(0).toInt(), 7);
    QCOMPARE(handlesOf(outer), 1);
}

void tst_MivoArg::assigningATemporaryFollowsTheKindRuleAndLeavesTheSource()
{
    MivoArg target(QString("x"));
    QCOMPARE(errorOf([&] { target = MivoArg(1); }),
             QString("MivoArg: cannot convert MivoArg::Int to MivoArg::String"));
    QCOMPARE(target.toString(), QString("x"));
    QCOMPARE(errorOf([&] { target = MivoArg(); }),
             QString("MivoArg: cannot convert MivoArg::None to MivoArg::String"));
    QCOMPARE(target.toString(), QString("x"));
    target = MivoArg(QString("y"));
    QCOMPARE(target.toString(), QString("y"));
    MivoArg source(QString("z"));
    target = std::move(source); // NOLINT(performance-move-const-arg): that it is none is tested
    QCOMPARE(target.toString(), QString("z"));
    QCOMPARE(source.toString(), QString("z"));
}

void tst_MivoArg::copyMadeBeforeAnAssignmentKeepsTheOldValue()
{
    MivoArg arg(QString("old"));
    const MivoArg copy(arg);
    arg = MivoArg(QString("new"));
    QCOMPARE(copy.toString(), QString("old"));
    QCOMPARE(arg.toString(), QString("new"));
}

void tst_MivoArg::swapExchangesAnyKinds()
{
    MivoArg number(1);
    MivoArg text(QString("a"));
    static_assert(noexcept(swap(number, text)), "");
    swap(number, text);
    QCOMPARE(number.toString(), QString("a"));
    QCOMPARE(text.toInt(), 1);
    MivoArg empty;
    swap(empty, text);
    QCOMPARE(empty.toInt(), 1);
    QCOMPARE(text.getType(), MivoArg::None);
    swap(empty, empty);
    QCOMPARE(empty.toInt(), 1);
    QCOMPARE(handlesOf(empty), 1);
}

void tst_MivoArg::heldValueEndsWithTheLastCopy()
{
    // A value shared with the held one tells whether that is still there.
    const QString text = QString("shared").repeated(2);
    const MivoArg inner(1);
    {
        const MivoArg string(text);
        const MivoArg strings(QStringList() << text);
        QVERIFY(!text.isDetached());
        MivoArg copy(string);
        copy = MivoArg(QString("another"));
        QVERIFY(!text.isDetached());

        const MivoArg args(QList<MivoArg>() << inner << inner);
        const MivoArg action(MivoPluginAction(&pluginA, nullptr, QList<MivoArg>() << inner));
        const MivoArg nested(QList<MivoArg>() << args << action);
        QCOMPARE(handlesOf(inner), 4);
    }
    QVERIFY(text.isDetached());
    QCOMPARE(handlesOf(inner), 1);
}

void tst_MivoArg::heldValueIsDestroyedExactlyOnce_data()
{
    QTest::addColumn<MakeHolding>("holding");
    const auto row = [](const char* name, MakeHolding holding) { QTest::newRow(name) << holding; };
    row("String", [](const QString& text) { return MivoArg(text); });
    row("StringList", [](const QString& text) { return MivoArg(QStringList() << text); });
    row("Field", [](const QString& text) { return MivoArg(MivoField(text, "id", "group")); });
    row("FieldList", [](const QString& text) {
        return MivoArg(QList<MivoField>() << MivoField(text, "id", "group"));
    });
    row("XmlNode", [](const QString& text) {
        MivoXmlNode node("a");
        node.insertData(text);
        return MivoArg(node);
    });
    row("Buddy", [](const QString& text) { return MivoArg(MivoBuddy(MivoBuddyGroup(text))); });
    row("BuddyResource", [](const QString& text) {
        return MivoArg(MivoBuddyResource(&resourceTypeA, MivoPresence(&presenceType, text)));
    });
    row("PluginAction", [](const QString& text) { return MivoArg(actionWith(text)); });
    row("Presence", [](const QString& text) { return MivoArg(MivoPresence(&presenceType, text)); });
    row("VideoClip", [](const QString& text) { return MivoArg(clip(text)); });
    row("ArgList", [](const QString& text) { return MivoArg(QList<MivoArg>() << text); });
    row("Service", [](const QString& text) { return MivoArg(service(text)); });
    row("ServiceList",
        [](const QString& text) { return MivoArg(QList<MivoService>() << service(text)); });
}

void tst_MivoArg::heldValueIsDestroyedExactlyOnce()
{
    QFETCH(MakeHolding, holding);
    // The text is shared by the held value and by one other: destroyed twice, the value would take
    // the other's share as well.
    QString text = QString("shared").repeated(2);
    text.detach();
    QString other = text;
    {
        MivoArg arg = holding(text);
        {
            const MivoArg copy(arg);
            MivoArg target;
            target = copy;
            const MivoArg moved(std::move(target));
        }
        other = QString();
        QVERIFY(!text.isDetached());
        other = text;
        arg = MivoArg(arg);
    }
    QVERIFY(!text.isDetached());
    other = QString();
    QVERIFY(text.isDetached());
}

void tst_MivoArg::pointerKindsNeverTouchThePointee()
{
    // Neither address can be read or freed.
    void* const nowhere = reinterpret_cast<void*>(quintptr(1));
    MivoPlugin* const noPlugin = reinterpret_cast<MivoPlugin*>(quintptr(8));
    {
        MivoArg address(nowhere);
        MivoArg plugin(noPlugin);
        const MivoArg addresses(QList<void*>() << nowhere);
        QCOMPARE(MivoArg(address).toPointer(), nowhere);
        QVERIFY(plugin.toPlugin() == noPlugin);
        QVERIFY(addresses == MivoArg(QList<void*>() << nowhere));
        address = MivoArg(static_cast<void*>(nullptr));
        plugin = MivoArg(static_cast<MivoPlugin*>(nullptr));

        MivoAccountConnection* const noAccount
            = reinterpret_cast<MivoAccountConnection*>(quintptr(8));
        MivoArg account(noAccount);
        QVERIFY(account.toAccount() == noAccount);
        QVERIFY(account == MivoArg(noAccount));
        account = MivoArg(static_cast<MivoAccountConnection*>(nullptr));
        MivoGuiEventsReceiver* const noReceiver
            = reinterpret_cast<MivoGuiEventsReceiver*>(quintptr(8));
        MivoArg receiver(noReceiver);
        QVERIFY(receiver.toGuiEventsReceiver() == noReceiver);
        QVERIFY(receiver != MivoArg(noReceiver));
        receiver = MivoArg(static_cast<MivoGuiEventsReceiver*>(nullptr));
    }
    QPointer<TestPlugin> guard(new TestPlugin);
    guard->asArgument();
    QVERIFY(guard);
    delete guard;
}

void tst_MivoArg::unknownKindFreesTheRecordOnly_data()
{
    QTest::addColumn<int>("kind");
    for (const int kind : {0, 28, 29, 1000, -1})
        QTest::addRow("%d", kind) << kind;
}

void tst_MivoArg::unknownKindFreesTheRecordOnly()
{
    QFETCH(int, kind);
    pointee = 1234;
    {
        const MivoArg arg = handMade(kind);
        QCOMPARE(int(arg.getType()), kind);
        QCOMPARE(arg.getTypeName(),
                 kind == 0        ? QString("MivoArg::None")
                     : kind == 28 ? QString("MivoArg::Undefined")
                                  : QString("MivoArg::Unknown"));
        const MivoArg copy(arg);
        QVERIFY(copy == arg);
    }
    QCOMPARE(pointee, 1234);
}

void tst_MivoArg::recordOfKindNoneIsLikeTheEmptyValue()
{
    const MivoArg arg = handMade(0);
    QVERIFY(arg == MivoArg());
    QVERIFY(MivoArg() == arg);
    QVERIFY(arg == handMade(0));
    QCOMPARE(errorOf([&] { arg.toInt(); }),
             QString("MivoArg: cannot convert MivoArg::None to MivoArg::Int"));
}

void tst_MivoArg::depthOfNestingIsNotLimitedByTheStack_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("listsBetween");
    QTest::newRow("lists") << int(MivoArg::ArgList) << false;
    QTest::newRow("actions") << int(MivoArg::PluginAction) << false;
    QTest::newRow("actions and lists in turn") << int(MivoArg::PluginAction) << true;
    QTest::newRow("services") << int(MivoArg::Service) << false;
    QTest::newRow("lists of services") << int(MivoArg::ServiceList) << false;
}

void tst_MivoArg::depthOfNestingIsNotLimitedByTheStack()
{
    QFETCH(int, kind);
    QFETCH(bool, listsBetween);
    const int depth = 100000;
    int seenDepth = 0;
    bool isEqualToItsCopy = false;
    bool isEqualToAnother = false;
    const auto work = [&] {
        const auto nested = [&] {
            bool between = true;
            return deeplyNested(depth, [&](const QList<MivoArg>& list) {
                between = listsBetween && !between;
                return between ? MivoArg(list) : holderOf(list, MivoArg::Type(kind));
            });
        };
        MivoArg arg = nested();
        const MivoArg copy(arg);
        isEqualToItsCopy = copy == arg;
        if (kind != MivoArg::PluginAction)
            isEqualToAnother = arg == nested();
        MivoArg cursor;
        swap(cursor, arg);
        while (cursor.getType() != MivoArg::Int) {
            MivoArg inner = heldBy(cursor).at(0);
            swap(cursor, inner);
            ++seenDepth;
        }
    };
    runInThread(work, 256 * 1024);
    QCOMPARE(seenDepth, depth);
    QVERIFY(isEqualToItsCopy);
    QVERIFY(!isEqualToAnother);
}

void tst_MivoArg::listsOfMixedKindsCanBeEdited()
{
    QList<MivoArg> list;
    list << 1 << QString("two") << true << 4.0 << MivoArg() << 6u;

    list.removeAt(0);
    QCOMPARE(list.at(0).toString(), QString("two"));
    QCOMPARE(list.takeAt(1).toBool(), true);
    list.insert(0, 'a');
    QCOMPARE(list.at(0).toChar(), 'a');
    QCOMPARE(list.at(1).toString(), QString("two"));
    list.prepend(QString("first"));
    list.erase(list.begin() + 1);
    QCOMPARE(list.size(), 5);
    QCOMPARE(list.at(1).toString(), QString("two"));
    QCOMPARE(list.at(2).toDouble(), 4.0);
    QCOMPARE(list.at(3).getType(), MivoArg::None);
    QCOMPARE(list.at(4).toUInt(), 6u);

    list.move(0, 4);
    QCOMPARE(list.at(4).toString(), QString("first"));
    list.move(3, 0);
    QCOMPARE(list.at(0).toUInt(), 6u);
    QCOMPARE(list.at(1).toString(), QString("two"));
    list.move(1, 2);
    QCOMPARE(list.at(1).toDouble(), 4.0);
    list.swapItemsAt(0, 4);
    QCOMPARE(list.at(0).toString(), QString("first"));
    QCOMPARE(list.at(4).toUInt(), 6u);
    list.erase(list.begin(), list.begin() + 4);
    QCOMPARE(list.size(), 1);
    QCOMPARE(list.takeFirst().toUInt(), 6u);

    // Shared lists detach; elements keep their records.
    list << 1 << QString("two");
    QList<MivoArg> copy(list);
    copy.removeAt(0);
    QCOMPARE(list.size(), 2);
    QCOMPARE(MivoArgPrivate::get(copy.at(0)), MivoArgPrivate::get(list.at(1)));
    QCOMPARE(handlesOf(list.at(1)), 2);
    for (int i = 0; i < 1000; ++i)
        i % 2 ? list.prepend(i) : list.append(QString::number(i));
    QCOMPARE(list.first().toInt(), 999);
    QCOMPARE(list.last().toString(), QString("998"));
    QCOMPARE(handlesOf(list.first()), 1);
}

void tst_MivoArg::replacingAnElementOfAListAssigns()
{
    QList<MivoArg> list;
    list << 1 << QString("two");
    list.replace(0, 5);
    QCOMPARE(list.at(0).toInt(), 5);
    QCOMPARE(errorOf([&] { list.replace(0, QString("five")); }),
             QString("MivoArg: cannot convert MivoArg::String to MivoArg::Int"));
    QCOMPARE(list.at(0).toInt(), 5);
}

void tst_MivoArg::overwritingAKeyOfAHashAssigns()
{
    QHash<QString, MivoArg> hash;
    hash.insert("key", 1);
    hash.insert("key", 2);
    QCOMPARE(hash.value("key").toInt(), 2);
    QCOMPARE(hash.value("other").getType(), MivoArg::None);
    QCOMPARE(errorOf([&] { hash.insert("key", QString("a")); }),
             QString("MivoArg: cannot convert MivoArg::String to MivoArg::Int"));
    QCOMPARE(hash.value("key").toInt(), 2);
}

void tst_MivoArg::removingAllThatAreEqualAssignsOnQt6()
{
    QList<MivoArg> list;
    list << 1 << QString("two") << 1 << true;
    const QString error = errorOf([&] { list.removeAll(1); });
    if (QT_VERSION_MAJOR < 6) {
        QVERIFY2(error.isNull(), qPrintable(error));
        QCOMPARE(list.size(), 2);
    } else {
        QCOMPARE(error, QString("MivoArg: cannot convert MivoArg::String to MivoArg::Int"));
    }

    // What the header recommends instead.
    list.clear();
    list << 1 << QString("two") << 1 << true;
    for (int i = int(list.size()) - 1; i >= 0; --i) {
        if (list.at(i) == MivoArg(1))
            list.removeAt(i);
    }
    QCOMPARE(list.size(), 2);
    QCOMPARE(list.at(0).toString(), QString("two"));
    QCOMPARE(list.at(1).toBool(), true);
    list.removeAt(0);
    list.insert(0, 4.0);
    QCOMPARE(list.at(0).toDouble(), 4.0);
    QHash<QString, MivoArg> hash;
    hash.insert("key", 1);
    hash.remove("key");
    hash.insert("key", QString("a"));
    QCOMPARE(hash.value("key").toString(), QString("a"));
}

void tst_MivoArg::qualifiedSwapAssigns()
{
    MivoArg number(1);
    MivoArg text(QString("a"));
    QCOMPARE(errorOf([&] { std::swap(number, text); }),
             QString("MivoArg: cannot convert MivoArg::Int to MivoArg::String"));
    QCOMPARE(number.toString(), QString("a"));
    QCOMPARE(text.toString(), QString("a"));
    MivoArg other(2);
    qSwap(text, other);
    QCOMPARE(text.toInt(), 2);
}

void tst_MivoArg::equalityOfNestedActionsIsNotLimitedByTheStack_data()
{
    QTest::addColumn<int>("innermost");
    QTest::addColumn<bool>("equal");
    QTest::newRow("equal") << 7 << true;
    QTest::newRow("different at the bottom") << 8 << false;
}

void tst_MivoArg::equalityOfNestedActionsIsNotLimitedByTheStack()
{
    QFETCH(int, innermost);
    QFETCH(bool, equal);
    const auto nested = [](int number) {
        MivoArg arg(number);
        for (int i = 0; i < 200000; ++i) {
            // Other arguments on both sides of the nested action.
            MivoArg outer(MivoPluginAction(&pluginA, nullptr,
                                           QList<MivoArg>() << i << arg << QString("after")));
            swap(arg, outer);
        }
        return arg;
    };
    bool variantsAreEqual = !equal;
    bool actionsAreEqual = !equal;
    runInThread(
        [&] {
            const MivoArg a = nested(7);
            const MivoArg b = nested(innermost);
            variantsAreEqual = a == b;
            actionsAreEqual = a.toPluginAction() == b.toPluginAction();
        },
        256 * 1024);
    QCOMPARE(variantsAreEqual, equal);
    QCOMPARE(actionsAreEqual, equal);
}

QTEST_GUILESS_MAIN(tst_MivoArg)

#include "tst_mivoarg.moc"
