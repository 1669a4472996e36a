// What the contact list costs: handles, what contacts answer, and groups from small to large.

#include "Bench.h"

#include "MivoArg.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyGroup_p.h"
#include "MivoBuddyType.h"
#include "MivoField.h"
#include "MivoPresence.h"
#include "MivoPresenceType.h"
#include "MivoSubscriptionType.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QSharedPointer>

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

/** CPU seconds of this thread. */
double threadSeconds()
{
    std::timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/** Counted, as a string that was read from somewhere is. */
QString icon()
{
    return QStringLiteral("on") + QLatin1String(".png");
}

MivoPresenceType* online()
{
    static MivoPresenceType type
        = {QStringLiteral("Online"), QStringLiteral("on"), icon(), 1, MivoPresence::Flag(1)};
    return &type;
}

QString idOf(int number)
{
    return QStringLiteral("user%1@example.org").arg(number);
}

/** The library's side. */
struct Ours
{
    typedef MivoBuddyContact Contact;

    static Contact make(int number)
    {
        const QString id = idOf(number);
        return MivoBuddyContact(
            nullptr, id, id, MivoBuddyType(), MivoPresence(online(), QString()),
            MivoSubscriptionType(QStringLiteral("Both"), QStringLiteral("both"), 1, QString()));
    }

    class Group
    {
    public:
        Group()
            : group(QStringLiteral("group"))
        {
        }
        /** Members and container hold each other. */
        ~Group()
        {
            QList<MivoBuddy>& members = MivoBuddyGroupPrivate::get(group)->children;
            for (const MivoBuddy& member : std::as_const(members))
                MivoBuddyPrivate::get(member)->setBackLink(MivoBuddy());
            members.clear();
        }
        bool add(const Contact& contact) { return group.addBuddy(contact); }
        void moveTo(Group& other, const Contact& contact) { other.add(contact); }
        bool contains(const Contact& contact) const { return group.containsBuddy(contact); }
        int onlineCount() const { return group.onlineChildCount(); }
        void reverse() { group.sort(); }

        MivoBuddyGroup group;

    private:
        Q_DISABLE_COPY(Group)
    };
};

/** As one would write it: plain structs, a list for the order and a set for the look-ups. */
struct ByHand
{
    struct PresenceType
    {
        QString icon;
        int flag;
    };

    /** What a contact of the library keeps. */
    struct Data
    {
        QString display;
        int unread = 0;
        void* account = nullptr;
        QSharedPointer<QString> type;
        QString id;
        const PresenceType* presenceType = nullptr;
        QString presenceText;
        bool presenceMarker = false;
        QString subscriptionDisplay;
        QString subscriptionId;
        QString subscriptionIcon;
        int subscription = 0;
        QList<int> resources;
        void* resource = nullptr;
        QString avatar;
        QSharedPointer<QString> parent;
        QHash<QString, MivoField> extraInfo;
        QHash<QString, QSharedPointer<QString>> attribs;
    };
    typedef QSharedPointer<Data> Contact;

    static const PresenceType* presence()
    {
        static const PresenceType type = {icon(), 1};
        return &type;
    }

    static Contact make(int number)
    {
        Contact contact(new Data);
        contact->id = idOf(number);
        contact->display = contact->id;
        contact->presenceType = presence();
        contact->subscriptionDisplay = QStringLiteral("Both");
        contact->subscriptionId = QStringLiteral("both");
        contact->subscription = 1;
        return contact;
    }

    class Group
    {
    public:
        void add(const Contact& contact) { list.append(contact); }
        int onlineCount() const
        {
            return int(std::count_if(list.cbegin(), list.cend(), [](const Contact& contact) {
                return contact->presenceType->flag != 6;
            }));
        }
        void reverse() { std::reverse(list.begin(), list.end()); }

    private:
        QList<Contact> list;
    };
};

/** The library's contacts in a list for the order and a set for the look-ups, without locks. */
struct SetAndList
{
    typedef MivoBuddyContact Contact;

    static Contact make(int number) { return Ours::make(number); }

    class Group
    {
    public:
        bool add(const Contact& contact)
        {
            if (members.contains(contact))
                return false;
            members.insert(contact);
            list.append(contact);
            return true;
        }
        void moveTo(Group& other, const Contact& contact)
        {
            if (other.add(contact) && members.remove(contact))
                list.removeOne(contact);
        }
        bool contains(const Contact& contact) const { return members.contains(contact); }

    private:
        QList<MivoBuddy> list;
        QSet<MivoBuddy> members;
    };
};

template <class Side>
std::vector<typename Side::Contact> makeContacts(int count)
{
    std::vector<typename Side::Contact> contacts;
    contacts.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i)
        contacts.push_back(Side::make(i));
    return contacts;
}

template <class Side>
void copyHandle(benchmark::State& state)
{
    const typename Side::Contact contact = Side::make(1);
    for (auto _ : state) {
        typename Side::Contact copy(contact);
        benchmark::DoNotOptimize(copy);
    }
}

void presenceIcon(benchmark::State& state)
{
    const MivoBuddyContact contact = Ours::make(1);
    for (auto _ : state)
        benchmark::DoNotOptimize(contact.getPresenceIcon());
}

void presenceIconByHand(benchmark::State& state)
{
    const ByHand::Contact contact = ByHand::make(1);
    for (auto _ : state) {
        const ByHand::Data* data = contact.data();
        benchmark::DoNotOptimize(data);
        const QString icon
            = data->subscriptionIcon.isEmpty() ? data->presenceType->icon : data->subscriptionIcon;
        benchmark::DoNotOptimize(icon);
    }
}

void attribute(benchmark::State& state)
{
    MivoBuddyContact contact = Ours::make(1);
    QHash<QString, MivoArg> attribs;
    for (int i = 0; i < 8; ++i)
        attribs.insert(idOf(i), MivoArg(idOf(i)));
    contact.setAttribs(attribs);
    const QString name = idOf(3);
    for (auto _ : state)
        benchmark::DoNotOptimize(contact.getAttrib(name));
}

void attributeByHand(benchmark::State& state)
{
    const ByHand::Contact contact = ByHand::make(1);
    for (int i = 0; i < 8; ++i)
        contact->attribs.insert(idOf(i), QSharedPointer<QString>::create(idOf(i)));
    const QString name = idOf(3);
    for (auto _ : state) {
        const ByHand::Data* data = contact.data();
        benchmark::DoNotOptimize(data);
        benchmark::DoNotOptimize(data->attribs.value(name));
    }
}

void parent(benchmark::State& state)
{
    Ours::Group group;
    const MivoBuddyContact contact = Ours::make(1);
    group.add(contact);
    for (auto _ : state)
        benchmark::DoNotOptimize(contact.getParent());
}

void parentByHand(benchmark::State& state)
{
    const ByHand::Contact contact = ByHand::make(1);
    contact->parent = QSharedPointer<QString>::create(idOf(0));
    for (auto _ : state) {
        const ByHand::Data* data = contact.data();
        benchmark::DoNotOptimize(data);
        const QSharedPointer<QString> copy = data->parent;
        benchmark::DoNotOptimize(copy);
    }
}

template <class Side>
void memory(benchmark::State& state)
{
    const int count = 1000;
    Side::make(0);
    for (auto _ : state) {
        const double before = bench::heapBytes();
        const std::vector<typename Side::Contact> contacts = makeContacts<Side>(count);
        state.counters["bytes"] = (bench::heapBytes() - before) / count;
    }
}

template <class Side>
void build(benchmark::State& state)
{
    const auto contacts = makeContacts<Side>(int(state.range(0)));
    for (auto _ : state) {
        typename Side::Group group;
        const double begin = threadSeconds();
        for (const auto& contact : contacts)
            group.add(contact);
        state.SetIterationTime(threadSeconds() - begin);
    }
}

template <class Side>
void move(benchmark::State& state)
{
    const auto contacts = makeContacts<Side>(int(state.range(0)));
    typename Side::Group groups[2];
    for (const auto& contact : contacts)
        groups[0].add(contact);
    int to = 1;
    for (auto _ : state) {
        const double begin = threadSeconds();
        for (const auto& contact : contacts)
            groups[1 - to].moveTo(groups[to], contact);
        state.SetIterationTime(threadSeconds() - begin);
        to = 1 - to;
    }
}

/** Asks for members and strangers in turns. */
template <class Side, class Asks>
void lookUp(benchmark::State& state, Asks asks)
{
    const int count = 1000;
    const auto contacts = makeContacts<Side>(count);
    const auto strangers = makeContacts<Side>(count);
    typename Side::Group group;
    for (const auto& contact : contacts)
        group.add(contact);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(asks(group, contacts[i]));
        benchmark::DoNotOptimize(asks(group, strangers[i]));
        i = i + 1 < contacts.size() ? i + 1 : 0;
    }
}

template <class Side>
void containsBuddy(benchmark::State& state)
{
    lookUp<Side>(state,
                 [](const typename Side::Group& group, const typename Side::Contact& contact) {
                     return group.contains(contact);
                 });
}

void containsContact(benchmark::State& state)
{
    lookUp<Ours>(state, [](const Ours::Group& group, const MivoBuddyContact& contact) {
        return group.group.containsContact(contact);
    });
}

template <class Side, class Does>
void onGroup(benchmark::State& state, Does does)
{
    typename Side::Group group;
    for (int i = 0; i < state.range(0); ++i)
        group.add(Side::make(i));
    for (auto _ : state)
        does(group);
}

template <class Side>
void countOnline(benchmark::State& state)
{
    onGroup<Side>(state, [](typename Side::Group& group) {
        int count = group.onlineCount();
        benchmark::DoNotOptimize(count);
    });
}

template <class Side>
void reverse(benchmark::State& state)
{
    onGroup<Side>(state, [](typename Side::Group& group) { group.reverse(); });
}

} // namespace

void addRows()
{
    using bench::Counted;
    const std::vector<long> sizes = {1000, 10000, 100000};

    bench::row("copy and destroy a contact handle")
        .ours(copyHandle<Ours>)
        .peer("QSharedPointer", copyHandle<ByHand>)
        .goal(0.65);
    bench::row("getPresenceIcon")
        .ours(presenceIcon)
        .peer("plain struct", presenceIconByHand)
        .goal(1.3);
    bench::row("getAttrib")
        .ours(attribute)
        .peer("QHash of QSharedPointer", attributeByHand)
        .goal(1.7);
    bench::row("getParent").ours(parent).peer("QSharedPointer in a struct", parentByHand).goal(1.3);
    bench::row("memory of a contact")
        .counted(Counted::Bytes)
        .ours(memory<Ours>)
        .peer("the fields in a struct", memory<ByHand>)
        .goal(1.1);
    bench::row("build a group")
        .counted(Counted::OwnTime)
        .sizes(sizes)
        .per("contact")
        .ours(build<Ours>)
        .peer("QSet and QList", build<SetAndList>)
        .goal(1.8);
    bench::row("move contacts to another group")
        .counted(Counted::OwnTime)
        .sizes({1000})
        .per("contact")
        .ours(move<Ours>)
        .peer("QSet and QList", move<SetAndList>)
        .goal(2.5);
    bench::row("move contacts to another group")
        .counted(Counted::OwnTime)
        .sizes({10000, 100000})
        .per("contact")
        .ours(move<Ours>)
        .peer("QSet and QList", move<SetAndList>)
        .goal(2.0);
    bench::row("containsBuddy, a member and a stranger")
        .ours(containsBuddy<Ours>)
        .peer("QSet", containsBuddy<SetAndList>)
        .goal(1.5);
    bench::row("containsContact, a member and a stranger")
        .ours(containsContact)
        .peer("QSet", containsBuddy<SetAndList>)
        .goal(1.5);
    bench::row("onlineChildCount")
        .sizes(sizes)
        .per("contact")
        .ours(countOnline<Ours>)
        .peer("plain structs", countOnline<ByHand>)
        .goal(2.0);
    bench::row("sort")
        .sizes(sizes)
        .per("contact")
        .ours(reverse<Ours>)
        .peer("std::reverse", reverse<ByHand>)
        .goal(1.0);
}
