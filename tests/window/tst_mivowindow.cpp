#include "ExamplePlugins.h"
#include "LogPage.h"
#include "MainWindow.h"
#include "MessageModel.h"

#include <MivoBuddyModel.h>
#include <MivoFrameWidget.h>
#include <MivoHostLog.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDockWidget>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSet>
#include <QSettings>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>
#include <QWindow>
#include <QXmlStreamReader>
#include <QtTest>

namespace {

const int patienceMs = 60000;

/** The names in a tree, from top to bottom. */
QStringList namesIn(const QAbstractItemModel& model, const QModelIndex& parent = QModelIndex())
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        names << index.data().toString() << namesIn(model, index);
    }
    return names;
}

/** Has the display send what a person does, and waits until it is sent. */
void onDisplay(const QStringList& actions)
{
    QProcess xdotool;
    xdotool.start(MIVO_XDOTOOL, actions);
    if (!xdotool.waitForFinished(patienceMs) || xdotool.exitCode() != 0)
        qFatal("xdotool: %s", xdotool.readAllStandardError().constData());
}

/** The text as the keys that xdotool knows, which depend on no pause between them. */
QStringList typed(const QString& text)
{
    return {"type", "--delay", "1", text};
}

QModelIndex rowOf(const QAbstractItemModel& model, const QString& name)
{
    return model
        .match(model.index(0, 0), Qt::DisplayRole, name, 1, Qt::MatchExactly | Qt::MatchRecursive)
        .value(0);
}

QString fileText(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/** The window on some of the example plug-ins, or on plug-ins in files. */
class OpenWindow
{
public:
    explicit OpenWindow(const QStringList& plugins)
    {
        QStringList files;
        for (const QString& plugin : plugins)
            files << (plugin.contains('/') ? plugin : examplePlugin(plugin));
        window.show();
        window.activateWindow();
        if (!QTest::qWaitForWindowExposed(&window))
            qFatal("the window does not come up");
        window.open(files);
    }

    template <class Widget>
    Widget* find(const QString& name)
    {
        Widget* const found = window.findChild<Widget*>(name);
        if (!found)
            qFatal("nothing is called %s", qPrintable(name));
        return found;
    }

    PluginInfo plugin(const QString& name)
    {
        for (const PluginInfo& each : find<BackgroundHost>(QString())->plugins()) {
            if (each.name == name)
                return each;
        }
        return PluginInfo();
    }

    /** Calls a plug-in past the window, and waits for the answer. */
    QList<MivoArg> call(const QString& name, const QString& slot,
                        const QList<MivoArg>& arguments = {})
    {
        CallAnswer given;
        bool isThere = false;
        find<BackgroundHost>(QString())->call(plugin(name), slot, arguments, &window,
                                              [&](const CallAnswer& answer) {
                                                  given = answer;
                                                  isThere = true;
                                              });
        if (!QTest::qWaitFor([&] { return isThere; }, patienceMs))
            qFatal("%s has not answered", qPrintable(slot));
        if (!given.isGiven)
            qFatal("%s", qPrintable(given.error));
        return given.values;
    }

    /** The middle of a widget on the display. */
    static QStringList pointOn(const QWidget* widget, QPoint point)
    {
        const QPoint global = widget->mapToGlobal(point);
        return {QString::number(global.x()), QString::number(global.y())};
    }

    QString messages()
    {
        const QWidget* const bar = find<QWidget>("messages");
        const QLabel* shown = nullptr;
        for (const QLabel* const label : bar->findChildren<QLabel*>())
            shown = label->text().isEmpty() ? shown : label;
        return bar->isVisible() && shown ? shown->text() : QString();
    }

    /** Presses keys where the focus is, as they come from the display. */
    void keys(const QString& text)
    {
        for (const QChar character : text)
            QTest::keyClick(window.windowHandle(), character.toLatin1());
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(window.windowHandle(), key, modifiers);
    }
    void click(QWidget* widget)
    {
        const QPoint centre = widget->mapTo(&window, widget->rect().center());
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, centre);
    }

    void choose(const QString& slot, const QString& arguments)
    {
        find<QComboBox>("slots")->setCurrentText(slot);
        click(find<QPlainTextEdit>("arguments")->viewport());
        key(Qt::Key_A, Qt::ControlModifier);
        key(Qt::Key_Delete);
        keys(arguments);
    }

    MainWindow window;
};

} // namespace

class tst_MivoWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void contactsAreReadSearchedAndHidden();
    void contactsThatCannotBeReadAreToldOfInTheBar();
    void aListThatNeedsNoFileIsShownAtOnceAndFollowsTheSignals();
    void severalListsAreShownOneAtATime();
    void contactsAreReadAgainWhenMoreIsOpened();
    void keysAndClicksOfTheDisplayReachTheWindow();
    void aClickOnAContactOpensTheConversation();
    void aMessageShowsWhatBecomesOfIt();
    void onlyWhatHasBeenSeenIsMarkedAsRead();
    void theConversationIsOpenedByKeysAndCopied();
    void aConversationTakesEventsInAnyOrder();
    void aConversationTakesNothingElse();

    void aFormIsEditedSavedLoadedAndRestored();
    void aFileThatCannotBeWrittenIsToldOfInTheBar();
    void aFormIsAppliedAndShownAsThePluginAnswersIt();
    void aRefusedFormStaysAsItIsAndIsToldOfInTheBar();
    void aFormFollowsThePluginAndKeepsWhatOneTypes();
    void aPasswordIsMaskedAndSavedOnlyWhenAskedFor();
    void aCallAnswersAndIsRepeated();
    void aFailingCallIsToldOfInTheBarWhichCanBeClosed();
    void aMistakeIsMarkedWhereItIsWhileOneTypes();
    void anActionIsPosted();
    void theHistoryShowsEachAnswer();
    void aServiceIsRunFromItsMenu();
    void theWindowIsUsedAndClosedDuringACall();
    void aDroppedFileThatIsNoPluginIsRefusedAndTheOthersStay();
    void aPluginThatCannotWorkIsToldOfAndTheOthersGoOn();
    void moreIsOpenedBesideWhatRuns();
    void framesAreShown();
    void theLogIsFilteredAndCopied();
    void selectedLinesOfTheLogAreCopied();
    void theLogIsSaved();
    void theLogKeepsTheLastLinesAndThePlaceOfWhoReads();
    void sizeDocksAndRecentFilesAreRemembered();
    void pagesAreReachedByKeys();
    void noTwoThingsOnAPageHaveTheSameKey_data();
    void noTwoThingsOnAPageHaveTheSameKey();
    void tabReachesAllOfThePage();

    void theProgramIsClosedDuringACallThatNeverEnds();
    void thePictureOfTheReadmeShowsTheContacts();
    void aPictureIsMadeOfEachPage_data();
    void aPictureIsMadeOfEachPage();
    void aPictureOfWhatFailedSaysSo();
    void desktopFileAndIconAreInstalled();
    void withoutADisplayItSaysHowToGetAPicture();
    void helpAndVersionNeedNoDisplay();
};

void tst_MivoWindow::init()
{
    QThread::currentThread()->setObjectName("window");
    static QTemporaryDir settings;
    QVERIFY(settings.isValid());
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    QCoreApplication::setOrganizationName("Mivo");
    QCoreApplication::setApplicationName("tst_mivowindow");
    QSettings().clear();
    QSettings().sync();
}

void tst_MivoWindow::contactsAreReadSearchedAndHidden()
{
    OpenWindow open({"roster"});
    open.window.readContacts(MIVO_SAMPLE_EXPORT);
    QTRY_VERIFY_WITH_TIMEOUT(open.window.isFilled(), patienceMs);
    const QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY(namesIn(*tree->model()).contains("Romeo"));
    QVERIFY(namesIn(*tree->model()).contains("Family"));
    QVERIFY(tree->isExpanded(tree->model()->index(0, 0)));
    const QModelIndexList romeo
        = tree->model()->match(tree->model()->index(0, 0), Qt::DisplayRole, "Romeo", 1,
                               Qt::MatchExactly | Qt::MatchRecursive);
    QCOMPARE(romeo.value(0).data(MivoBuddyModel::UnreadRole).toInt(), 2);

    open.key(Qt::Key_F, Qt::ControlModifier);
    QTRY_COMPARE(QApplication::focusWidget(),
                 static_cast<QWidget*>(open.find<QLineEdit>("search")));
    open.keys("romeo");
    QTRY_COMPARE(namesIn(*tree->model()), QStringList({"Friends", "Romeo"}));
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.key(Qt::Key_Delete);
    QTRY_VERIFY(namesIn(*tree->model()).contains("Nurse"));
    open.click(open.find<QCheckBox>("hideOffline"));
    if (!open.find<QCheckBox>("hideOffline")->isChecked())
        open.find<QCheckBox>("hideOffline")->setFocus(), open.key(Qt::Key_Space);
    QTRY_VERIFY(!namesIn(*tree->model()).contains("Nurse")); // the export knows no presences
    QVERIFY(namesIn(*tree->model()).contains("rosaline@capulet.example"));
}

void tst_MivoWindow::contactsThatCannotBeReadAreToldOfInTheBar()
{
    OpenWindow open({"roster"});
    open.window.readContacts("/no/such/file.xml");
    QTRY_VERIFY_WITH_TIMEOUT(open.messages().contains("/no/such/file.xml"), patienceMs);
    QVERIFY(!open.messages().contains('\n'));
}

void tst_MivoWindow::aListThatNeedsNoFileIsShownAtOnceAndFollowsTheSignals()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    const QTreeView* const tree = open.find<QTreeView>("tree");
    const QAbstractItemModelTester tester(const_cast<QAbstractItemModel*>(tree->model()),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    QTRY_COMPARE_WITH_TIMEOUT(namesIn(*tree->model()), QStringList({"Friends", "ann"}), patienceMs);
    QTRY_COMPARE(open.find<QLabel>("contactsStatus")->text(),
                 QString("1 contacts, 1 of them not offline"));
    open.call("probe", "arrive", {MivoArg(QString("bob"))});
    QTRY_COMPARE_WITH_TIMEOUT(namesIn(*tree->model()), QStringList({"Friends", "ann", "bob"}),
                              patienceMs);
    QVERIFY(tree->isExpanded(tree->model()->index(0, 0)));
    open.call("probe", "unread", {MivoArg(QString("bob")), MivoArg(3)});
    QTRY_COMPARE_WITH_TIMEOUT(rowOf(*tree->model(), "bob").data(MivoBuddyModel::UnreadRole).toInt(),
                              3, patienceMs);
    QCOMPARE(rowOf(*tree->model(), "ann").data(MivoBuddyModel::UnreadRole).toInt(), 0);
}

void tst_MivoWindow::severalListsAreShownOneAtATime()
{
    OpenWindow open({"roster", MIVO_PROBE_PLUGIN});
    open.window.readContacts(MIVO_SAMPLE_EXPORT);
    QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(namesIn(*tree->model()).contains("Romeo"), patienceMs);
    QComboBox* const rosters = open.find<QComboBox>("rosters");
    QVERIFY(rosters->isVisible());
    rosters->setCurrentText("probe");
    QTRY_COMPARE_WITH_TIMEOUT(namesIn(*tree->model()), QStringList({"Friends", "ann"}), patienceMs);
    rosters->setCurrentText("roster");
    QVERIFY(namesIn(*tree->model()).contains("Romeo"));
}

void tst_MivoWindow::contactsAreReadAgainWhenMoreIsOpened()
{
    OpenWindow open({"roster"});
    open.window.readContacts(MIVO_SAMPLE_EXPORT);
    const QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(namesIn(*tree->model()).contains("Romeo"), patienceMs);
    open.window.open({examplePlugin("echo")});
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QComboBox>("plugins")->count(), 2, patienceMs);
    QTRY_VERIFY_WITH_TIMEOUT(namesIn(*tree->model()).contains("Romeo"), patienceMs);
    QCOMPARE(open.messages(), QString());
}

void tst_MivoWindow::keysAndClicksOfTheDisplayReachTheWindow()
{
    OpenWindow open({"roster"});
    open.window.readContacts(MIVO_SAMPLE_EXPORT);
    QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(namesIn(*tree->model()).contains("Nurse"), patienceMs);
    const auto clickOn = [](const QWidget* widget, QPoint point) {
        onDisplay(QStringList("mousemove") + OpenWindow::pointOn(widget, point)
                  + QStringList({"click", "1"}));
    };
    QLineEdit* const search = open.find<QLineEdit>("search");
    onDisplay({"windowfocus", QString::number(open.window.winId())});
    clickOn(search, search->rect().center());
    QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget*>(search));
    onDisplay(typed("nurse"));
    QTRY_COMPARE(search->text(), QString("nurse"));
    QTRY_VERIFY(!namesIn(*tree->model()).contains("Romeo"));
    const QModelIndex nurse = rowOf(*tree->model(), "Nurse");
    QVERIFY(nurse.isValid());
    clickOn(tree->viewport(), tree->visualRect(nurse).center());
    QTRY_COMPARE(tree->currentIndex().data().toString(), QString("Nurse"));
    QCheckBox* const offline = open.find<QCheckBox>("hideOffline");
    clickOn(offline, QPoint(10, offline->height() / 2));
    QTRY_VERIFY(offline->isChecked());
    QTRY_COMPARE(namesIn(*tree->model()), QStringList());
    onDisplay({"key", "alt+h"});
    QTRY_VERIFY(!offline->isChecked());
    QTRY_VERIFY(namesIn(*tree->model()).contains("Nurse"));
}

void tst_MivoWindow::aClickOnAContactOpensTheConversation()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    QTreeView* const tree = open.find<QTreeView>("tree");
    const auto unread
        = [&] { return rowOf(*tree->model(), "ann").data(MivoBuddyModel::UnreadRole).toInt(); };
    QTRY_VERIFY_WITH_TIMEOUT(rowOf(*tree->model(), "ann").isValid(), patienceMs);
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("good day"))});
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("are you there?"))});
    QTRY_COMPARE_WITH_TIMEOUT(unread(), 2, patienceMs);

    onDisplay({"windowfocus", QString::number(open.window.winId())});
    onDisplay(QStringList("mousemove")
              + OpenWindow::pointOn(tree->viewport(),
                                    tree->visualRect(rowOf(*tree->model(), "ann")).center())
              + QStringList({"click", "1"}));
    QListView* list = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT((list = open.window.findChild<QListView*>("messageList")), patienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(list->model()->rowCount(), 2, patienceMs);
    const QAbstractItemModelTester tester(list->model(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    const QString time = QLocale().toString(QDateTime::fromMSecsSinceEpoch(1700000000000),
                                            QLocale::ShortFormat); // of the first
    QCOMPARE(list->model()->index(0, 0).data().toString(), time + "  ann: good day");
    QVERIFY(list->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(unread(), 0, patienceMs);

    // The line has the focus: one may type at once.
    onDisplay(typed("yes, I am"));
    onDisplay({"key", "Return"});
    QTRY_COMPARE_WITH_TIMEOUT(list->model()->rowCount(), 3, patienceMs);
    QTRY_VERIFY(list->model()->index(2, 0).data().toString().endsWith("  I: yes, I am"));
    QCOMPARE(open.find<QLineEdit>("messageLine")->text(), QString());
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("fine"))});
    QTRY_COMPARE_WITH_TIMEOUT(list->model()->rowCount(), 4, patienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(unread(), 0, patienceMs); // it is looked at
    QCOMPARE(open.messages(), QString());
}

void tst_MivoWindow::aMessageShowsWhatBecomesOfIt()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(rowOf(*tree->model(), "ann").isValid(), patienceMs);
    tree->setCurrentIndex(rowOf(*tree->model(), "ann"));
    tree->setFocus();
    open.key(Qt::Key_Return);
    QListView* list = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT((list = open.window.findChild<QListView*>("messageList")), patienceMs);
    QLineEdit* const line = open.find<QLineEdit>("messageLine");
    QTRY_COMPARE(QApplication::focusWidget(), static_cast<QWidget*>(line));
    const auto say = [&](const QString& text) {
        open.keys(text);
        open.key(Qt::Key_Return);
    };
    const auto row = [&](int i) { return list->model()->index(i, 0).data().toString(); };
    say("later one");
    QTRY_VERIFY_WITH_TIMEOUT(row(0).endsWith("I: later one  (on its way)"), patienceMs);
    open.call("probe", "deliver");
    QTRY_VERIFY_WITH_TIMEOUT(row(0).endsWith("I: later one"), patienceMs);
    say("never two");
    QTRY_VERIFY_WITH_TIMEOUT(
        row(1).endsWith("I: never two  (not delivered: the server refuses it)"), patienceMs);
    say("no three"); // the call itself fails: nothing is lost
    QTRY_VERIFY_WITH_TIMEOUT(row(2).contains("I: no three  (not delivered: probe: sendMessage "
                                             "failed: there is no account to send it with)"),
                             patienceMs);
    say("   ");
    say("four");
    QTRY_VERIFY_WITH_TIMEOUT(row(3).endsWith("I: four"), patienceMs);
    QCOMPARE(list->model()->rowCount(), 4);
}

void tst_MivoWindow::onlyWhatHasBeenSeenIsMarkedAsRead()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(rowOf(*tree->model(), "ann").isValid(), patienceMs);
    open.call("probe", "arrive", {MivoArg(QString("bob"))});
    QTRY_VERIFY_WITH_TIMEOUT(rowOf(*tree->model(), "bob").isValid(), patienceMs);
    const auto unread = [&](const QString& name) {
        return rowOf(*tree->model(), name).data(MivoBuddyModel::UnreadRole).toInt();
    };
    const auto choose = [&](const QString& name) {
        tree->setCurrentIndex(rowOf(*tree->model(), name));
        tree->setFocus();
        open.key(Qt::Key_Return);
    };
    QVERIFY(QTest::qWaitForWindowActive(&open.window));
    choose("ann");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.findChild<QLineEdit*>("messageLine"), patienceMs);
    choose("bob");
    QTRY_COMPARE_WITH_TIMEOUT(open.window.findChildren<QListView*>("messageList").size(), 2,
                              patienceMs);
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("hello"))});
    open.call("probe", "hear", {MivoArg(QString("bob")), MivoArg(QString("hello"))});
    // Bob's conversation is shown, Ann's is open behind it.
    QTRY_COMPARE_WITH_TIMEOUT(unread("ann"), 1, patienceMs);
    QTRY_VERIFY_WITH_TIMEOUT(open.call("probe", "openConversation",
                                       {MivoArg(rowOf(*tree->model(), "bob")
                                                    .data(MivoBuddyModel::BuddyRole)
                                                    .value<MivoBuddy>())})
                                     .size()
                                 == 1,
                             patienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(unread("bob"), 0, patienceMs);
    QCOMPARE(unread("ann"), 1);
    choose("ann");
    QTRY_COMPARE_WITH_TIMEOUT(unread("ann"), 0, patienceMs);
    // On another page nobody sees it.
    open.key(Qt::Key_3, Qt::AltModifier);
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("still there?"))});
    QTRY_COMPARE_WITH_TIMEOUT(unread("ann"), 1, patienceMs);
    open.key(Qt::Key_1, Qt::AltModifier);
    QTRY_COMPARE_WITH_TIMEOUT(unread("ann"), 0, patienceMs);
}

void tst_MivoWindow::theConversationIsOpenedByKeysAndCopied()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(rowOf(*tree->model(), "ann").isValid(), patienceMs);
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("first"))});
    open.call("probe", "hear", {MivoArg(QString("ann")), MivoArg(QString("second"))});
    tree->setFocus();
    tree->setCurrentIndex(tree->model()->index(0, 0)); // a group has no conversation
    open.key(Qt::Key_Return);
    open.key(Qt::Key_Down);
    QVERIFY(!open.window.findChild<QListView*>("messageList"));
    open.key(Qt::Key_Return);
    QListView* list = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT((list = open.window.findChild<QListView*>("messageList")), patienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(list->model()->rowCount(), 2, patienceMs);
    list->setFocus();
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.key(Qt::Key_C, Qt::ControlModifier);
    QTRY_COMPARE(QApplication::clipboard()->text(), QString("first\nsecond"));
    open.click(open.find<QToolButton>("closeConversation"));
    QTRY_VERIFY(!open.window.findChild<QListView*>("messageList"));
}

void tst_MivoWindow::aConversationTakesEventsInAnyOrder()
{
    MessageModel model("ann");
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    const auto event = [](const QString& what, const QString& id, const QString& text,
                          const QString& reason = QString()) {
        return QList<MivoArg>({MivoArg(what), MivoArg(id), MivoArg(text),
                               MivoArg(qlonglong(1700000000000)), MivoArg(QString("a@b")),
                               MivoArg(reason)});
    };
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QVERIFY(model.apply(event("taken", "1", "one")));
    QVERIFY(model.apply(event("queued", "1", "one"))); // late
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(changed.count(), 0);
    QVERIFY(model.index(0, 0).data().toString().endsWith("I: one"));
    QVERIFY(model.apply(event("failed", "1", "one", "it came back")));
    QCOMPARE(changed.count(), 1);
    QVERIFY(model.index(0, 0).data().toString().endsWith("(not delivered: it came back)"));
    QVERIFY(model.apply(event("received", "2", "two")));
    QVERIFY(model.apply(event("received", "2", "two"))); // once more is not twice
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(model.apply(event("asks", "3", "may I?")));
    QVERIFY(model.index(2, 0).data().toString().contains("ann asks to see your presence. may I?"));
    QVERIFY(model.apply(event("received", "4", QString("a\nb\x1b[0m") + QChar(0x202e))));
    QVERIFY2(model.index(3, 0).data().toString().endsWith("a\nb\\u001b[0m\\u202e"),
             qPrintable(model.index(3, 0).data().toString()));
    QCOMPARE(model.index(3, 0).data(MessageModel::MessageRole).toString(),
             QString("a\nb\x1b[0m") + QChar(0x202e));
    QVERIFY(model.apply(event("received", "5", QString(1000000, 'x'))));
    QVERIFY(model.index(4, 0).data().toString().size() < 21000);
    QCOMPARE(model.index(4, 0).data(MessageModel::MessageRole).toString().size(), 1000000);
}

void tst_MivoWindow::aConversationTakesNothingElse()
{
    MessageModel model("ann");
    const QList<MivoArg> good
        = {MivoArg(QString("taken")), MivoArg(QString("1")), MivoArg(QString("one")),
           MivoArg(qlonglong(1)),     MivoArg(QString()),    MivoArg(QString())};
    for (int i = 0; i < good.size(); ++i) {
        QVERIFY(!model.apply(good.mid(0, i)));
        QVERIFY(!model.apply(good.mid(0, i) + QList<MivoArg>({MivoArg(true)}) + good.mid(i + 1)));
    }
    QVERIFY(!model.apply(QList<MivoArg>({MivoArg(QString("sung"))}) + good.mid(1)));
    QCOMPARE(model.rowCount(), 0);
    QVERIFY(model.apply(good));
    QCOMPARE(model.rowCount(), 1);
}

void tst_MivoWindow::aFormIsEditedSavedLoadedAndRestored()
{
    QTemporaryDir folder;
    const QString file = folder.filePath("values.xml");
    OpenWindow open({"settings"});
    open.window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.isFilled(), patienceMs);
    QLineEdit* const nickname = open.find<QLineEdit>("nickname");
    open.click(nickname);
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.keys("Bea");
    QTRY_COMPARE(nickname->text(), QString("Bea"));
    QTabWidget* const tabs = open.find<QTabWidget>("formTabs");
    QVERIFY(tabs->tabText(0).endsWith('*'));

    open.click(open.find<QPushButton>("save"));
    QFileDialog* dialog = nullptr;
    QTRY_VERIFY((dialog = open.window.findChild<QFileDialog*>("saveValues")));
    dialog->fileSelected(file); // as the dialog of the desktop does
    dialog->close();
    QTRY_VERIFY(QFile::exists(file));
    QVERIFY(fileText(file).contains("Bea"));
    QVERIFY(tabs->tabText(0).endsWith('*')); // the plug-in does not have it

    open.click(open.find<QPushButton>("restore"));
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QLineEdit>("nickname")->text(), QString("Ann"), patienceMs);
    QVERIFY(!tabs->tabText(0).endsWith('*'));

    open.click(open.find<QPushButton>("load"));
    QTRY_VERIFY((dialog = open.window.findChild<QFileDialog*>("loadValues")));
    dialog->fileSelected(file);
    dialog->close();
    QTRY_COMPARE(open.find<QLineEdit>("nickname")->text(), QString("Bea"));
    QVERIFY(tabs->tabText(0).endsWith('*'));
}

void tst_MivoWindow::aFileThatCannotBeWrittenIsToldOfInTheBar()
{
    OpenWindow open({"settings"});
    open.window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.isFilled(), patienceMs);
    open.click(open.find<QPushButton>("save"));
    QFileDialog* dialog = nullptr;
    QTRY_VERIFY((dialog = open.window.findChild<QFileDialog*>("saveValues")));
    dialog->fileSelected("/no/such/folder/values.xml");
    dialog->close();
    QTRY_VERIFY(open.messages().contains("/no/such/folder/values.xml"));
}

void tst_MivoWindow::aFormIsAppliedAndShownAsThePluginAnswersIt()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    open.window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.findChild<QLineEdit*>("address"), patienceMs);
    QPushButton* const apply = open.find<QPushButton>("apply");
    QVERIFY(!apply->isEnabled()); // there is nothing to hand over
    open.click(open.find<QLineEdit>("address"));
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.keys("bea@example.net");
    QTRY_VERIFY(apply->isEnabled());
    open.click(open.find<QLineEdit>("password"));
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.keys("hidden");
    open.key(Qt::Key_P, Qt::AltModifier);
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QLineEdit>("address")->text(), QString("BEA@EXAMPLE.NET"),
                              patienceMs);
    QVERIFY(!open.find<QTabWidget>("formTabs")->tabText(0).endsWith('*'));
    QVERIFY(!apply->isEnabled());
    QCOMPARE(open.call("probe", "applied").value(0).toStringList(),
             QStringList({"BEA@EXAMPLE.NET", "hidden"}));
    QCOMPARE(open.messages(), QString());
}

void tst_MivoWindow::aRefusedFormStaysAsItIsAndIsToldOfInTheBar()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    open.window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.findChild<QLineEdit*>("address"), patienceMs);
    open.click(open.find<QLineEdit>("password"));
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.keys("hidden");
    open.click(open.find<QLineEdit>("address"));
    open.key(Qt::Key_A, Qt::ControlModifier);
    open.key(Qt::Key_Delete);
    QTRY_VERIFY(open.find<QPushButton>("apply")->isEnabled());
    open.click(open.find<QPushButton>("apply"));
    QTRY_COMPARE_WITH_TIMEOUT(open.messages(),
                              QString("probe does not take the values over: the address is empty; "
                                      "expected one such as ann@example.org"),
                              patienceMs);
    QCOMPARE(open.find<QLineEdit>("address")->text(), QString());
    QCOMPARE(open.find<QLineEdit>("password")->text(), QString("hidden"));
    QVERIFY(open.find<QTabWidget>("formTabs")->tabText(0).endsWith('*'));
    QVERIFY(open.find<QPushButton>("apply")->isEnabled());
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QCOMPARE(open.call("probe", "applied").value(0).toStringList(),
             QStringList({"ann@example.org", "sesame"}));
}

void tst_MivoWindow::aFormFollowsThePluginAndKeepsWhatOneTypes()
{
    OpenWindow open({MIVO_PROBE_PLUGIN});
    open.window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.findChild<QLineEdit*>("address"), patienceMs);
    open.click(open.find<QLineEdit>("address"));
    open.key(Qt::Key_Home);
    open.keys("jo");
    QTRY_COMPARE(open.find<QLineEdit>("address")->text(), QString("joann@example.org"));
    open.call("probe", "state", {MivoArg(QString("connected"))});
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QLabel>("state")->text(), QString("State: connected"),
                              patienceMs);
    // What is being typed goes on where it was.
    QCOMPARE(open.find<QLineEdit>("address")->text(), QString("joann@example.org"));
    QTRY_COMPARE(QApplication::focusWidget(),
                 static_cast<QWidget*>(open.find<QLineEdit>("address")));
    open.keys("-");
    QTRY_COMPARE(open.find<QLineEdit>("address")->text(), QString("jo-ann@example.org"));
    QVERIFY(open.find<QTabWidget>("formTabs")->tabText(0).endsWith('*'));
}

void tst_MivoWindow::aPasswordIsMaskedAndSavedOnlyWhenAskedFor()
{
    QTemporaryDir folder;
    OpenWindow open({MIVO_PROBE_PLUGIN});
    open.window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.findChild<QLineEdit*>("password"), patienceMs);
    const QLineEdit* const password = open.find<QLineEdit>("password");
    QCOMPARE(password->text(), QString("sesame"));
    QVERIFY(!password->displayText().contains("sesame"));
    QCOMPARE(password->displayText().size(), 6);
    const auto save = [&](const QString& file) {
        open.click(open.find<QPushButton>("save"));
        QFileDialog* dialog = nullptr;
        QTRY_VERIFY((dialog = open.window.findChild<QFileDialog*>("saveValues")));
        dialog->fileSelected(file);
        dialog->close();
        delete dialog;
        QTRY_VERIFY(QFile::exists(file));
    };
    save(folder.filePath("without.xml"));
    QVERIFY(fileText(folder.filePath("without.xml")).contains("ann@example.org"));
    QVERIFY(!fileText(folder.filePath("without.xml")).contains("sesame"));
    open.find<QCheckBox>("withSecrets")->setFocus();
    open.key(Qt::Key_Space);
    QTRY_VERIFY(open.find<QCheckBox>("withSecrets")->isChecked());
    save(folder.filePath("with.xml"));
    QVERIFY(fileText(folder.filePath("with.xml")).contains("sesame"));
}

void tst_MivoWindow::aCallAnswersAndIsRepeated()
{
    OpenWindow open({"echo"});
    open.window.showPage("calls");
    QTRY_VERIFY_WITH_TIMEOUT(open.find<QComboBox>("slots")->count() > 0, patienceMs);
    open.choose("sum", "int:40");
    open.key(Qt::Key_Return);
    open.keys("int:2");
    open.key(Qt::Key_Return, Qt::ControlModifier);
    QPlainTextEdit* const answer = open.find<QPlainTextEdit>("answer");
    QTRY_COMPARE_WITH_TIMEOUT(answer->toPlainText(), QString("MivoArg(Int: 42)"), patienceMs);
    QListWidget* const history = open.find<QListWidget>("history");
    QCOMPARE(history->count(), 1);
    QCOMPARE(history->item(0)->text(), QString("echo.sum int:40 int:2"));

    open.choose("sum", "int:1");
    answer->clear();
    history->setFocus();
    history->setCurrentRow(0);
    open.key(Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(answer->toPlainText(), QString("MivoArg(Int: 42)"), patienceMs);
    QCOMPARE(history->count(), 2);
}

void tst_MivoWindow::aFailingCallIsToldOfInTheBarWhichCanBeClosed()
{
    OpenWindow open({"echo"});
    open.window.showPage("calls");
    QTRY_VERIFY_WITH_TIMEOUT(open.find<QComboBox>("slots")->count() > 0, patienceMs);
    open.choose("fail", "string:no luck");
    open.click(open.find<QPushButton>("run"));
    QTRY_VERIFY_WITH_TIMEOUT(open.messages().contains("no luck"), patienceMs);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    open.key(Qt::Key_Escape);
    QTRY_COMPARE(open.messages(), QString());
}

void tst_MivoWindow::aMistakeIsMarkedWhereItIsWhileOneTypes()
{
    OpenWindow open({"echo"});
    open.window.showPage("calls");
    QTRY_VERIFY_WITH_TIMEOUT(open.find<QComboBox>("slots")->count() > 0, patienceMs);
    open.choose("echo", "int:1");
    open.key(Qt::Key_Return);
    open.keys("int:12x");
    QPlainTextEdit* const arguments = open.find<QPlainTextEdit>("arguments");
    QTRY_COMPARE(arguments->extraSelections().size(), 1);
    const QTextCursor mark = arguments->extraSelections().at(0).cursor;
    QCOMPARE(mark.selectionEnd(), int(QString("int:1\nint:12x").size()));
    QVERIFY(mark.selectionStart() >= 6);
    QVERIFY(!open.find<QLabel>("mistake")->text().isEmpty());
    QVERIFY(!open.find<QPushButton>("run")->isEnabled());
    open.key(Qt::Key_Backspace);
    QTRY_VERIFY(arguments->extraSelections().isEmpty());
    QVERIFY(open.find<QPushButton>("run")->isEnabled());
}

void tst_MivoWindow::anActionIsPosted()
{
    OpenWindow open({"echo"});
    open.window.showPage("calls");
    QTRY_VERIFY_WITH_TIMEOUT(open.find<QComboBox>("slots")->count() > 0, patienceMs);
    open.choose("record (action)", "string:hello");
    QCOMPARE(open.find<QPushButton>("run")->text(), QString("P&ost"));
    open.click(open.find<QPushButton>("run"));
    const auto recorded = [&] {
        open.choose("recorded", "");
        open.click(open.find<QPushButton>("run"));
        QTest::qWait(50);
        return open.find<QPlainTextEdit>("answer")->toPlainText().contains("hello");
    };
    QTRY_VERIFY_WITH_TIMEOUT(recorded(), patienceMs);
}

void tst_MivoWindow::theHistoryShowsEachAnswer()
{
    OpenWindow open({"echo"});
    open.window.showPage("calls");
    QTRY_VERIFY_WITH_TIMEOUT(open.find<QComboBox>("slots")->count() > 0, patienceMs);
    QPlainTextEdit* const answer = open.find<QPlainTextEdit>("answer");
    open.choose("sum", "int:1");
    open.key(Qt::Key_Return, Qt::ControlModifier);
    QTRY_COMPARE_WITH_TIMEOUT(answer->toPlainText(), QString("MivoArg(Int: 1)"), patienceMs);
    open.choose("sum", "int:2");
    open.key(Qt::Key_Return, Qt::ControlModifier);
    QTRY_COMPARE_WITH_TIMEOUT(answer->toPlainText(), QString("MivoArg(Int: 2)"), patienceMs);
    open.find<QListWidget>("history")->setCurrentRow(1);
    QCOMPARE(answer->toPlainText(), QString("MivoArg(Int: 1)"));
}

void tst_MivoWindow::aServiceIsRunFromItsMenu()
{
    OpenWindow open({"echo", MIVO_PROBE_PLUGIN});
    QMenu* const services = open.find<QMenu>("services");
    // It is known only once the plug-in runs.
    QTRY_COMPARE_WITH_TIMEOUT(services->actions().size(), 1, patienceMs);
    QCOMPARE(services->actions().at(0)->text(), QString("Count && tell"));
    QVERIFY2(services->actions().at(0)->toolTip().contains("count of probe"),
             qPrintable(services->actions().at(0)->toolTip()));
    open.key(Qt::Key_S, Qt::AltModifier);
    QTRY_VERIFY(services->isVisible());
    QTest::keyClick(services, Qt::Key_Down);
    if (!services->activeAction())
        QTest::keyClick(services, Qt::Key_Down);
    QTest::keyClick(services, Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(open.call("probe", "counted").value(0).toInt(), 1, patienceMs);
    open.window.open({examplePlugin("settings")});
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QComboBox>("plugins")->count(), 3, patienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(services->actions().size(), 1, patienceMs); // not twice
}

void tst_MivoWindow::theWindowIsUsedAndClosedDuringACall()
{
    auto open = std::make_unique<OpenWindow>(QStringList({"echo", "settings"}));
    open->window.showPage("calls");
    QTRY_VERIFY_WITH_TIMEOUT(open->find<QComboBox>("slots")->count() > 0, patienceMs);
    open->choose("takeLong", "int:4000");
    open->click(open->find<QPushButton>("run"));
    QTRY_VERIFY(open->find<QProgressBar>("busy")->isVisible());
    QTRY_VERIFY(open->find<QListWidget>("history")->item(0)->text().endsWith(QString("s…")));
    // The window does what it is asked to meanwhile: the other plug-in's form comes and is edited.
    open->window.showPage("forms");
    QTRY_VERIFY_WITH_TIMEOUT(open->window.findChild<QLineEdit*>("nickname"), patienceMs);
    QLineEdit* const nickname = open->find<QLineEdit>("nickname");
    open->click(nickname);
    open->key(Qt::Key_End);
    open->keys("a");
    QTRY_COMPARE(nickname->text(), QString("Anna"));
    const bool wasCalling = open->window.isCalling();
    QVERIFY(open->window.close());
    QVERIFY(!open->window.isVisible());
    QVERIFY(wasCalling);
    open.reset();
}

void tst_MivoWindow::aDroppedFileThatIsNoPluginIsRefusedAndTheOthersStay()
{
    QTemporaryDir folder;
    QFile bad(folder.filePath("bad.so"));
    QVERIFY(bad.open(QIODevice::WriteOnly));
    bad.write("no plug-in");
    bad.close();
    OpenWindow open({"echo"});
    QComboBox* const plugins = open.find<QComboBox>("plugins");
    QTRY_COMPARE_WITH_TIMEOUT(plugins->count(), 1, patienceMs);
    const MivoPlugin* const before = open.plugin("echo").plugin;
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(bad.fileName())});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&open.window, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&open.window, &drop);
    QTRY_VERIFY_WITH_TIMEOUT(open.messages().contains("bad.so"), patienceMs);
    QCOMPARE(plugins->count(), 1);
    QCOMPARE(plugins->itemText(0), QString("echo"));
    QCOMPARE(static_cast<const MivoPlugin*>(open.plugin("echo").plugin), before); // it still runs
    for (const QAction* const action : open.find<QMenu>("recent")->actions())
        QVERIFY(!action->text().contains("bad.so"));
}

void tst_MivoWindow::aPluginThatCannotWorkIsToldOfAndTheOthersGoOn()
{
    OpenWindow open({"echo"});
    QComboBox* const plugins = open.find<QComboBox>("plugins");
    QTRY_COMPARE_WITH_TIMEOUT(plugins->count(), 1, patienceMs);
    open.window.open({MIVO_UNWILLING_PLUGIN});
    QTRY_VERIFY_WITH_TIMEOUT(open.messages().contains("cannot be initialised"), patienceMs);
    QTRY_COMPARE_WITH_TIMEOUT(plugins->count(), 1, patienceMs);
    QCOMPARE(plugins->itemText(0), QString("echo"));
    QCOMPARE(open.call("echo", "sum", {MivoArg(1), MivoArg(2)}).value(0).toInt(), 3);
}

void tst_MivoWindow::moreIsOpenedBesideWhatRuns()
{
    OpenWindow open({"echo"});
    QComboBox* const plugins = open.find<QComboBox>("plugins");
    QTRY_COMPARE_WITH_TIMEOUT(plugins->count(), 1, patienceMs);
    open.window.open({examplePlugin("settings"), examplePlugin("echo")});
    QTRY_COMPARE_WITH_TIMEOUT(plugins->count(), 2, patienceMs);
}

void tst_MivoWindow::framesAreShown()
{
    OpenWindow open({"frames_consumer", "frames_producer"});
    open.window.showPage("frames");
    QPushButton* const button = open.find<QPushButton>("startFrames");
    // Whoever asks for the page wants to see them, as soon as there are plug-ins for it.
    QTRY_COMPARE_WITH_TIMEOUT(button->text(), QString("S&top"), patienceMs);
    QTRY_VERIFY_WITH_TIMEOUT(open.find<MivoFrameWidget>(QString())->shownFrames() > 0, patienceMs);
    open.click(button);
    QTRY_COMPARE(button->text(), QString("S&tart"));
    open.click(button); // and closed while they run
    QTRY_COMPARE(button->text(), QString("S&top"));
}

void tst_MivoWindow::theLogIsFilteredAndCopied()
{
    OpenWindow open({"roster"});
    open.window.readContacts(MIVO_SAMPLE_EXPORT);
    QTableView* const table = open.find<QTableView>("logTable");
    QTRY_VERIFY_WITH_TIMEOUT(table->model()->rowCount() > 2, patienceMs);
    const int all = table->model()->rowCount();
    QLineEdit* const filter = open.find<QLineEdit>("logFilter");
    open.click(filter);
    const QString text = table->model()->index(0, 2).data().toString();
    const QString line = QRegularExpression("line [0-9]+").match(text).captured();
    QVERIFY2(!line.isEmpty(), qPrintable(text));
    open.keys(line);
    QTRY_VERIFY(table->model()->rowCount() < all);
    const int left = table->model()->rowCount();
    QVERIFY(left > 0);
    for (int row = 0; row < left; ++row)
        QVERIFY(table->model()->index(row, 2).data().toString().contains(line));
    open.click(open.find<QPushButton>("copyLog"));
    QTRY_VERIFY(QApplication::clipboard()->text().contains(line));
    QCOMPARE(int(QApplication::clipboard()->text().count('\n')), left);
}

void tst_MivoWindow::selectedLinesOfTheLogAreCopied()
{
    OpenWindow open({"echo"});
    MivoHostLog::write("the first line");
    MivoHostLog::write("the second line");
    MivoHostLog::write("the third\nline");
    QTableView* const table = open.find<QTableView>("logTable");
    QTRY_VERIFY_WITH_TIMEOUT(table->model()->rowCount() >= 3, patienceMs);
    const QAbstractItemModelTester tester(table->model(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    const int row = table->model()->rowCount() - 2;
    QCOMPARE(table->model()->index(row, 2).data().toString(), QString("the second line"));
    QCOMPARE(table->model()->index(row, 1).data().toString(), QString("window"));
    QCOMPARE(table->model()->index(row + 1, 2).data().toString(), QString("the third\\u000aline"));
    table->selectRow(row);
    open.click(open.find<QPushButton>("copyLog"));
    QTRY_VERIFY(QApplication::clipboard()->text().contains("the second line"));
    QCOMPARE(QApplication::clipboard()->text().count('\n'), 1);
    const QRegularExpression line("\\A\\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\[.+\\] the second line\n\\z");
    QVERIFY2(line.match(QApplication::clipboard()->text()).hasMatch(),
             qPrintable(QApplication::clipboard()->text()));
}

void tst_MivoWindow::theLogIsSaved()
{
    QTemporaryDir folder;
    OpenWindow open({"echo"});
    MivoHostLog::write("keep this");
    MivoHostLog::write("not this");
    QLineEdit* const filter = open.find<QLineEdit>("logFilter");
    open.click(filter);
    open.keys("KEEP");
    QTableView* const table = open.find<QTableView>("logTable");
    QTRY_COMPARE_WITH_TIMEOUT(table->model()->rowCount(), 1, patienceMs);
    const auto saveTo = [&](const QString& file) {
        open.click(open.find<QPushButton>("saveLog"));
        QFileDialog* dialog = nullptr;
        QTRY_VERIFY((dialog = open.window.findChild<QFileDialog*>("saveLogAs")));
        dialog->fileSelected(file);
        delete dialog;
    };
    const QString file = folder.filePath("log.txt");
    saveTo(file);
    QTRY_VERIFY(QFile::exists(file));
    QVERIFY(fileText(file).endsWith("keep this\n"));
    QVERIFY(!fileText(file).contains("not this"));
    saveTo("/no/such/folder/log.txt");
    QTRY_VERIFY(open.messages().contains("/no/such/folder/log.txt"));
}

void tst_MivoWindow::theLogKeepsTheLastLinesAndThePlaceOfWhoReads()
{
    LogModel model;
    for (int i = 0; i < 10010; ++i)
        model.append(QTime(1, 2, 3), "main", QString::number(i));
    QCOMPARE(model.rowCount(), 10000);
    QCOMPARE(model.line(0), QString("01:02:03.000 [main] 10"));
    QCOMPARE(model.line(9999), QString("01:02:03.000 [main] 10009"));

    OpenWindow open({"echo"});
    QTableView* const table = open.find<QTableView>("logTable");
    for (int i = 0; i < 100; ++i)
        MivoHostLog::write(QString::number(i));
    QTRY_VERIFY_WITH_TIMEOUT(table->model()->rowCount() >= 100, patienceMs);
    QScrollBar* const bar = table->verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 0 && bar->value() == bar->maximum());
    bar->setValue(5);
    const int rows = table->model()->rowCount();
    MivoHostLog::write("one more");
    QTRY_COMPARE_WITH_TIMEOUT(table->model()->rowCount(), rows + 1, patienceMs);
    QTest::qWait(50); // a view scrolls when it comes to it
    QCOMPARE(bar->value(), 5);
}

void tst_MivoWindow::sizeDocksAndRecentFilesAreRemembered()
{
    {
        OpenWindow open({"echo"});
        QTRY_COMPARE_WITH_TIMEOUT(open.find<QComboBox>("plugins")->count(), 1, patienceMs);
        open.window.resize(640, 480);
        QTRY_COMPARE(open.window.size(), QSize(640, 480));
        open.key(Qt::Key_5, Qt::AltModifier);
        QTRY_VERIFY(!open.find<QDockWidget>("logDock")->isVisible());
        open.window.close();
    }
    MainWindow again;
    QCOMPARE(again.size(), QSize(640, 480));
    QVERIFY(again.findChild<QDockWidget*>("logDock")->isHidden());
    QMenu* const recent = again.findChild<QMenu*>("recent");
    QCOMPARE(recent->actions().size(), 1);
    QVERIFY(recent->actions().at(0)->text().endsWith("echo.so"));
    recent->actions().at(0)->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(again.findChild<QComboBox*>("plugins")->count(), 1, patienceMs);
}

void tst_MivoWindow::pagesAreReachedByKeys()
{
    OpenWindow open({"echo"});
    const QTabWidget* const pages = open.find<QTabWidget>("pages");
    open.key(Qt::Key_3, Qt::AltModifier);
    QTRY_COMPARE(pages->currentIndex(), 2);
    open.key(Qt::Key_1, Qt::AltModifier);
    QTRY_COMPARE(pages->currentIndex(), 0);
    open.key(Qt::Key_Q, Qt::ControlModifier);
    QTRY_VERIFY(!open.window.isVisible());
}

void tst_MivoWindow::noTwoThingsOnAPageHaveTheSameKey_data()
{
    QTest::addColumn<QString>("page");
    for (const QString& page : MainWindow::pageNames())
        QTest::newRow(qPrintable(page)) << page;
}

void tst_MivoWindow::noTwoThingsOnAPageHaveTheSameKey()
{
    QFETCH(QString, page);
    OpenWindow open({"echo", "frames_consumer", "frames_producer", MIVO_PROBE_PLUGIN});
    QTRY_VERIFY_WITH_TIMEOUT(open.window.findChild<QLineEdit*>("address"), patienceMs);
    QVERIFY(open.window.showPage(page));
    QStringList keys;
    const auto add = [&](const QKeySequence& key) {
        if (!key.isEmpty())
            keys.append(key.toString());
    };
    for (const QAction* const action : open.window.menuBar()->actions())
        add(QKeySequence::mnemonic(action->text()));
    for (const QAction* const action : open.window.findChildren<QAction*>())
        add(action->shortcut());
    for (const QAbstractButton* const button : open.window.findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            add(button->shortcut());
    }
    for (const QLabel* const label : open.window.findChildren<QLabel*>()) {
        if (label->isVisible() && label->buddy())
            add(QKeySequence::mnemonic(label->text()));
    }
    QVERIFY(keys.contains("Alt+F"));
    QStringList twice;
    for (const QString& key : qAsConst(keys)) {
        if (keys.count(key) > 1)
            twice.append(key);
    }
    QCOMPARE(twice, QStringList());
}

void tst_MivoWindow::tabReachesAllOfThePage()
{
    OpenWindow open({"roster", MIVO_PROBE_PLUGIN});
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QComboBox>("rosters")->count(), 2, patienceMs);
    open.key(Qt::Key_F, Qt::ControlModifier);
    QTRY_COMPARE(QApplication::focusWidget(),
                 static_cast<QWidget*>(open.find<QLineEdit>("search")));
    QSet<QString> reached;
    for (int i = 0; i < 30; ++i) {
        open.key(Qt::Key_Tab);
        reached.insert(QApplication::focusWidget()->objectName());
    }
    for (const char* const name : {"search", "read", "rosters", "hideOffline", "tree", "logFilter",
                                   "copyLog", "saveLog", "logTable"})
        QVERIFY2(reached.contains(name), name);
}

void tst_MivoWindow::theProgramIsClosedDuringACallThatNeverEnds()
{
    // All of it by keys of the display, in the program itself.
    QTemporaryDir folder;
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_CONFIG_HOME", folder.path());
    program.setProcessEnvironment(environment);
    program.start(MIVO_WINDOW_PROGRAM, {"--page", "calls", MIVO_PROBE_PLUGIN});
    QVERIFY(program.waitForStarted(patienceMs));
    const QString mark = folder.filePath("hangs");
    onDisplay(
        {"search", "--sync", "--onlyvisible", "--name", "^Plug-ins$", "windowfocus", "--sync"});
    const auto makeItHang = [&] {
        // Until the plug-in has been opened there is nothing to run: then once more.
        onDisplay(QStringList({"key", "alt+l"}) + typed("hang"));
        onDisplay(QStringList({"key", "alt+a", "key", "ctrl+a"}) + typed("string:" + mark));
        onDisplay({"key", "ctrl+Return"});
        return QTest::qWaitFor([&] { return QFile::exists(mark); }, 2000);
    };
    QTRY_VERIFY_WITH_TIMEOUT(makeItHang(), patienceMs);
    onDisplay({"key", "ctrl+q"});
    QVERIFY2(program.waitForFinished(patienceMs), "the program has not ended");
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    // What is remembered has been written all the same.
    const QString settings = fileText(folder.filePath("Mivo/mivo-window.conf"));
    QVERIFY2(settings.contains("probe.so"), qPrintable(settings));
}

void tst_MivoWindow::thePictureOfTheReadmeShowsTheContacts()
{
    OpenWindow open({"echo", "settings", "roster", "frames_consumer", "frames_producer"});
    open.window.resize(900, 700);
    // The log names the file: as seen from the project, wherever that lies.
    QVERIFY(QDir::setCurrent(MIVO_SOURCE_DIR));
    open.window.readContacts("examples/plugins/roster/sample.xml");
    const QTreeView* const tree = open.find<QTreeView>("tree");
    QTRY_VERIFY_WITH_TIMEOUT(open.window.isFilled() && namesIn(*tree->model()).contains("Romeo"),
                             patienceMs);
    QTRY_COMPARE(open.window.size(), QSize(900, 700));
    const QImage picture = open.window.grab().toImage();
    QCOMPARE(picture.size() / picture.devicePixelRatio(), QSize(900, 700));

    // Each of these stands in the picture: its row is within it, and something is drawn there.
    for (const char* const name : {"Family", "Juliet", "Nurse", "Friends", "Romeo"}) {
        const QModelIndex row = rowOf(*tree->model(), name);
        QVERIFY2(row.isValid(), name);
        const QRect place = tree->visualRect(row).translated(
            tree->viewport()->mapTo(static_cast<QWidget*>(&open.window), QPoint()));
        QVERIFY2(tree->viewport()->rect().contains(tree->visualRect(row)), name);
        QVERIFY2(picture.rect().contains(place), name);
        QSet<QRgb> colours;
        for (int y = place.top(); y <= place.bottom(); ++y) {
            for (int x = place.left(); x <= place.right(); ++x)
                colours.insert(picture.pixel(x, y));
        }
        QVERIFY2(colours.size() > 1, name);
    }
    QVERIFY(picture.save(MIVO_README_PICTURE));
}

void tst_MivoWindow::aPictureIsMadeOfEachPage_data()
{
    QTest::addColumn<QStringList>("arguments");
    for (const QString& page : MainWindow::pageNames()) {
        QTest::newRow(qPrintable(page + " with all"))
            << QStringList({"--examples", "--contacts", MIVO_SAMPLE_EXPORT, "--page", page});
        QTest::newRow(qPrintable(page + " with a plug-in that has none"))
            << QStringList({"--page", page, examplePlugin("echo")});
    }
}

void tst_MivoWindow::aPictureIsMadeOfEachPage()
{
    QFETCH(QStringList, arguments);
    QTemporaryDir folder;
    const QString file = folder.filePath("page.png");
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DISPLAY");
    environment.remove("QT_QPA_PLATFORM");
    program.setProcessEnvironment(environment);
    program.start(MIVO_WINDOW_PROGRAM, QStringList({"--picture", file}) + arguments);
    QVERIFY(program.waitForFinished(patienceMs));
    QVERIFY2(program.exitCode() == 0, program.readAllStandardError().constData());
    const QSize size = QImage(file).size(); // larger where a page needs it
    QCOMPARE(size.expandedTo(QSize(900, 700)), size);
}

void tst_MivoWindow::aPictureOfWhatFailedSaysSo()
{
    QTemporaryDir folder;
    const QString file = folder.filePath("page.png");
    QProcess program;
    program.start(MIVO_WINDOW_PROGRAM,
                  {"--picture", file, "--contacts", "/no/such/file.xml", examplePlugin("roster")});
    QVERIFY(program.waitForFinished(patienceMs));
    QCOMPARE(program.exitCode(), 1);
    const QString error = program.readAllStandardError();
    QVERIFY2(error.contains("/no/such/file.xml"), qPrintable(error));
    QVERIFY(!QImage(file).isNull());
}

void tst_MivoWindow::desktopFileAndIconAreInstalled()
{
    QTemporaryDir prefix;
    const auto run = [](const QString& program, const QStringList& arguments) {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        if (!process.waitForFinished(patienceMs) || process.exitCode() != 0)
            return program + ": " + QString::fromUtf8(process.readAll());
        return QString::fromUtf8(process.readAll()).section('\n', 0, -2) + QString();
    };
    const QString installed = run(
        MIVO_CMAKE, {"--install", MIVO_BUILD, "--component", "widgets", "--prefix", prefix.path()});
    const QString desktop = prefix.filePath("share/applications/mivo-window.desktop");
    QVERIFY2(QFile::exists(desktop), qPrintable(installed));
    QCOMPARE(run(MIVO_DESKTOP_FILE_VALIDATE, {"--warn-kde", desktop}), QString());
    const QString text = fileText(desktop);
    QVERIFY(text.contains("\nExec=mivo-window %F\n"));
    QVERIFY(QFileInfo(prefix.filePath("bin/mivo-window")).isExecutable());
    QVERIFY(text.contains("\nIcon=mivo-window\n"));
    const QString icon
        = fileText(prefix.filePath("share/icons/hicolor/scalable/apps/mivo-window.svg"));
    QXmlStreamReader svg(icon);
    QVERIFY(svg.readNextStartElement());
    QCOMPARE(svg.name().toString(), QString("svg"));
    QVERIFY(svg.attributes().hasAttribute("viewBox"));
    while (!svg.atEnd())
        svg.readNext();
    QVERIFY2(!svg.hasError(), qPrintable(svg.errorString()));
}

void tst_MivoWindow::withoutADisplayItSaysHowToGetAPicture()
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* const name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(name);
    program.setProcessEnvironment(environment);
    program.start(MIVO_WINDOW_PROGRAM, QStringList());
    QVERIFY(program.waitForFinished(patienceMs));
    QCOMPARE(program.exitCode(), 1);
    const QString error = program.readAllStandardError();
    QVERIFY2(error.contains("--picture FILE.png"), qPrintable(error));
    QCOMPARE(error.count('\n'), 1);
}

void tst_MivoWindow::helpAndVersionNeedNoDisplay()
{
    for (const char* const option : {"--help", "--version"}) {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DISPLAY");
        environment.remove("QT_QPA_PLATFORM");
        program.setProcessEnvironment(environment);
        program.start(MIVO_WINDOW_PROGRAM, {option});
        QVERIFY(program.waitForFinished(patienceMs));
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(program.readAllStandardOutput().contains("mivo-window"));
    }
}

QTEST_MAIN(tst_MivoWindow)
#include "tst_mivowindow.moc"
