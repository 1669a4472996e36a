#include "ExamplePlugins.h"
#include "MainWindow.h"

#include <MivoBuddyModel.h>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>
#include <QWindow>
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

/** The window on some of the example plug-ins. */
class OpenWindow
{
public:
    explicit OpenWindow(const QStringList& plugins)
    {
        QStringList files;
        for (const QString& plugin : plugins)
            files << examplePlugin(plugin);
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
    void aFormIsEditedSavedLoadedAndRestored();
    void aFileThatCannotBeWrittenIsToldOfInTheBar();
    void aCallAnswersAndIsRepeated();
    void aFailingCallIsToldOfInTheBarWhichCanBeClosed();
    void aMistakeIsMarkedWhereItIsWhileOneTypes();
    void anActionIsPosted();
    void theWindowIsUsedAndClosedDuringACall();
    void aDroppedFileThatIsNoPluginIsRefusedAndTheOthersStay();
    void moreIsOpenedBesideWhatRuns();
    void framesAreShown();
    void theLogIsFilteredAndCopied();
    void sizeAndRecentFilesAreRemembered();
    void pagesAreReachedByKeys();

    void thePictureShowsTheContacts();
    void withoutADisplayItSaysHowToGetAPicture();
    void helpAndVersionNeedNoDisplay();
};

void tst_MivoWindow::init()
{
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
    QVERIFY(!tabs->tabText(0).endsWith('*'));
    QFile saved(file);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QVERIFY(saved.readAll().contains("Bea"));

    open.click(open.find<QPushButton>("restore"));
    QTRY_COMPARE_WITH_TIMEOUT(open.find<QLineEdit>("nickname")->text(), QString("Ann"), patienceMs);

    open.click(open.find<QPushButton>("load"));
    QTRY_VERIFY((dialog = open.window.findChild<QFileDialog*>("loadValues")));
    dialog->fileSelected(file);
    dialog->close();
    QTRY_COMPARE(open.find<QLineEdit>("nickname")->text(), QString("Bea"));
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
    QCOMPARE(open.find<QPushButton>("run")->text(), QString("&Post"));
    open.click(open.find<QPushButton>("run"));
    const auto recorded = [&] {
        open.choose("recorded", "");
        open.click(open.find<QPushButton>("run"));
        QTest::qWait(50);
        return open.find<QPlainTextEdit>("answer")->toPlainText().contains("hello");
    };
    QTRY_VERIFY_WITH_TIMEOUT(recorded(), patienceMs);
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
    for (const QAction* const action : open.find<QMenu>("recent")->actions())
        QVERIFY(!action->text().contains("bad.so"));
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
    QTRY_VERIFY_WITH_TIMEOUT(button->isEnabled(), patienceMs);
    open.click(button);
    QTRY_VERIFY_WITH_TIMEOUT(open.window.isFilled(), patienceMs);
    QCOMPARE(button->text(), QString("&Stop"));
    open.click(button);
    QTRY_COMPARE(button->text(), QString("&Start"));
    open.click(button); // and closed while they run
    QTRY_COMPARE(button->text(), QString("&Stop"));
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

void tst_MivoWindow::sizeAndRecentFilesAreRemembered()
{
    {
        OpenWindow open({"echo"});
        QTRY_COMPARE_WITH_TIMEOUT(open.find<QComboBox>("plugins")->count(), 1, patienceMs);
        open.window.resize(640, 480);
        QTRY_COMPARE(open.window.size(), QSize(640, 480));
        open.window.close();
    }
    MainWindow again;
    QCOMPARE(again.size(), QSize(640, 480));
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

void tst_MivoWindow::thePictureShowsTheContacts()
{
    QTemporaryDir folder;
    const QString file = folder.filePath("contacts.png");
    QProcess program;
    program.start(MIVO_WINDOW_PROGRAM,
                  {"--examples", "--contacts", MIVO_SAMPLE_EXPORT, "--picture", file});
    QVERIFY(program.waitForFinished(patienceMs));
    QVERIFY2(program.exitCode() == 0, program.readAllStandardError().constData());
    const QImage picture(file);
    QCOMPARE(picture.size(), QSize(900, 700));
    // What the same page shows here is what it has waited for: there is a tree, and names in it.
    OpenWindow open({"roster"});
    open.window.readContacts(MIVO_SAMPLE_EXPORT);
    QTRY_VERIFY_WITH_TIMEOUT(open.window.isFilled(), patienceMs);
    QVERIFY(open.find<QTreeView>("tree")->isVisible());
    QVERIFY(namesIn(*open.find<QTreeView>("tree")->model()).contains("Juliet"));
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
