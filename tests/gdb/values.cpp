// A program that holds a value of every type that the debugger shows; the debugger stops in look().

#include "MivoArg.h"
#include "MivoBuddyContact.h"
#include "MivoBuddyGroup.h"
#include "MivoBuddyMerged.h"
#include "MivoBuddyMeta.h"
#include "MivoBuddyResource.h"
#include "MivoBuddyResourceType.h"
#include "MivoBuddyTemporary.h"
#include "MivoBuddyType_p.h"
#include "MivoBuffer.h"
#include "MivoField.h"
#include "MivoPlugin.h"
#include "MivoPluginAction.h"
#include "MivoPresenceType.h"
#include "MivoRingBuffer.h"
#include "MivoService.h"
#include "MivoSubscriptionType.h"
#include "MivoVideoClip.h"
#include "MivoXmlNode.h"

namespace {

class Speaker : public MivoPlugin
{
public:
    void say(QList<MivoArg>& arguments) { arguments.clear(); }
};

/** The numbers 8 and 13 have no enumerators. */
constexpr MivoField::Type password = static_cast<MivoField::Type>(8);

struct Values
{
    explicit Values(MivoPlugin* plugin)
        : action(plugin, static_cast<MivoPluginAction::Member>(&Speaker::say),
                 QList<MivoArg>() << MivoArg(7))
        , service("mail", "Write mail", "xmpp", action)
        , presence(&presenceType, "at lunch")
        , resource(&resourceType, presence)
        , subscription("Both ways", "both", 1, QString())
        , type(makeType())
        , contact(nullptr, "ann@example.org", "Ann", type, presence, subscription)
        , group("Friends")
        , meta(group.addMeta("Bob"))
        , merged("Both of Ann", QList<MivoBuddyContact>() << contact)
        , temporary(nullptr, "eve@example.org", MivoPresence(), group)
        , rest("rest")
    {
        group.addBuddy(contact);
        contact.setUnreadMessages(3);
        QHash<QString, MivoArg> attribs;
        attribs.insert("mood", MivoArg(QString("happy")));
        contact.setAttribs(attribs);
        contact.setResources(QList<MivoBuddyResource>() << resource);
        clip.width = 640;
        clip.height = 480;
        clip.framesPerSecond = 25;
        clip.durationMs = 1500;
        clip.source = "camera";
        ring.getBuffer();
        element.setAttribute("to", QString("ann"));
        element.insertData("hello");
        args << MivoArg() << MivoArg('x') << MivoArg(static_cast<unsigned char>(200)) << MivoArg(-5)
             << MivoArg(5U) << MivoArg(-5000000000LL) << MivoArg(18446744073709551615ULL)
             << MivoArg(0.5F) << MivoArg(0.25) << MivoArg(QString::fromUtf8("a \"ü\"\n"))
             << MivoArg(QStringList() << "a" << QString()) << MivoArg(true)
             << MivoArg(static_cast<void*>(nullptr))
             << MivoArg(QList<void*>() << static_cast<void*>(nullptr))
             << MivoArg(static_cast<MivoPlugin*>(nullptr)) << MivoArg(check)
             << MivoArg(QList<MivoField>() << check << MivoField()) << MivoArg(element)
             << MivoArg(contact) << MivoArg(resource)
             << MivoArg(static_cast<MivoAccountConnection*>(nullptr)) << MivoArg(action)
             << MivoArg(presence) << MivoArg(static_cast<MivoGuiEventsReceiver*>(nullptr))
             << MivoArg(clip) << MivoArg(QList<MivoArg>() << MivoArg(1) << MivoArg(QString("two")))
             << MivoArg(service) << MivoArg(QList<MivoService>() << service);
        listArg = args.at(25);
        deepArg = MivoArg(1);
        for (int i = 0; i < 10000; ++i) {
            MivoArg outer(QList<MivoArg>() << deepArg);
            swap(outer, deepArg);
        }
    }

    ~Values()
    {
        MivoBuddyTypePrivate::get(type)->presenceList.clear(); // the presence type lives here
        group.removeBuddy(contact);
        group.removeBuddy(meta);
    }

    MivoBuddyType makeType()
    {
        presenceType.id = "away";
        presenceType.display = "Away";
        const MivoBuddyType made("xmpp", "XMPP");
        MivoBuddyTypePrivate::get(made)->presenceList << &presenceType;
        return made;
    }

    MivoPresenceType presenceType;
    MivoBuddyResourceType resourceType{"home", "house"};
    MivoPluginAction action;
    MivoPluginAction noAction;
    MivoService service;
    MivoPresence presence;
    MivoPresence noPresence;
    MivoBuddyResource resource;
    MivoBuddyResource noResource;
    MivoSubscriptionType subscription;
    MivoBuddyType type;
    MivoBuddyContact contact;
    MivoBuddyGroup group;
    MivoBuddyMeta meta;
    MivoBuddyMerged merged;
    MivoBuddyTemporary temporary;
    MivoBuddy noBuddy;
    MivoBuddyGroup rest;
    MivoField combo{"Colour", "colour",
                    QStringList() << "red"
                                  << "blue",
                    1, QString()};
    MivoField check{MivoField::CheckBox, "Sound", "sound", true, QString()};
    MivoField line{MivoField::LineEdit, "Name", "name", "Ann", 20, "you"};
    MivoField secret{password, "Password", "password", "1234", 20, "you"};
    MivoField spin{"Count", "count", 10, -10, 3, QString()};
    MivoField real{"Volume", "volume", 1.0, 0.0, 0.5, QString()};
    MivoField label{"Hello", "hello", QString()};
    MivoField button{"Go", "go", action, QString()};
    MivoField noField;
    MivoVideoClip clip;
    MivoXmlNode element{"message"};
    MivoXmlNode noElement;
    MivoBuffer buffer{16, true};
    MivoRingBuffer ring{2, 64};
    QList<MivoArg> args;
    MivoArg listArg;
    MivoArg deepArg;
    void* brokenArg[2] = {nullptr, nullptr}; ///< seen as a MivoArg
    void* brokenBuddy[2] = {nullptr, nullptr}; ///< seen as a MivoBuddy
    unsigned garbage[16] = {0xdeadbeef, 0xdeadbeef, 0xdeadbeef, 0xdeadbeef};
};

} // namespace

extern "C" __attribute__((noinline)) void look(const Values* values)
{
    asm volatile("" : : "r"(values) : "memory");
}

int main()
{
    Speaker speaker;
    Values values(&speaker);
    values.brokenArg[0] = values.garbage; // a record with what a freed one may hold
    values.brokenBuddy[1] = reinterpret_cast<void*>(0x10); // a record where there is no memory
    look(&values);
    values.ring.waitForRelese();
    return 0;
}
