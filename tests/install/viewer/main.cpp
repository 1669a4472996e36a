#include <MivoBuddyContact.h>
#include <MivoBuddyFilterModel.h>
#include <MivoBuddyGroup.h>
#include <MivoBuddyModel.h>
#include <MivoBuddyType.h>
#include <MivoBuffer.h>
#include <MivoField.h>
#include <MivoFormWidget.h>
#include <MivoFrameWidget.h>
#include <MivoPresence.h>
#include <MivoSubscriptionType.h>

#include <QApplication>
#include <QTextStream>
#include <QTreeView>

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    QTextStream out(stdout);

    // A contact list as a tree, sorted.
    MivoBuddyGroup friends(QString::fromLatin1("Friends"));
    for (const char* const name : {"Bob", "Ann"}) {
        friends.addBuddy(MivoBuddyContact(
            nullptr, QString::fromLatin1(name), QString::fromLatin1(name), MivoBuddyType(),
            MivoPresence(), MivoSubscriptionType(QString(), QString(), 0, QString())));
    }
    MivoBuddyModel model;
    model.setGroups(QList<MivoBuddyGroup>() << friends);
    MivoBuddyFilterModel sorted;
    sorted.setSourceModel(&model);
    QTreeView view;
    view.setModel(&sorted);
    const QModelIndex group = sorted.index(0, 0);
    out << group.data().toString() << '\n';
    for (int row = 0; row < sorted.rowCount(group); ++row)
        out << "  " << sorted.index(row, 0, group).data().toString() << '\n';

    // A form.
    MivoFormWidget form;
    form.setFields(QList<MivoField>()
                   << MivoField(QString::fromLatin1("Volume"), QString::fromLatin1("volume"), 1.0,
                                0.0, 0.5, QString()));
    for (const MivoField& field : form.fields())
        out << field.getId() << ": " << field.getDoubleValue() << '\n';

    // A frame of two pixels.
    unsigned char pixels[] = {255, 0, 0, 0, 0, 255};
    MivoBuffer buffer(sizeof pixels, pixels, false);
    MivoFrameWidget frames;
    frames.showFrame(&buffer, QSize(2, 1));
    frames.grab();
    out << frames.shownFrames() << " frame, " << frames.frame().width() << " x "
        << frames.frame().height() << '\n';

    friends.clear(); // members and their group keep each other alive
    return 0;
}
