#include "ExamplePlugins.h"
#include "Failure.h"
#include "Files.h"
#include "MainWindow.h"
#include "ManPage.h"

#include <MivoGlobal.h>

#include <QApplication>
#include <QBuffer>
#include <QCommandLineParser>
#include <QDeadlineTimer>
#include <QSettings>
#include <QTextStream>
#include <QThread>

#include <cstdlib>

namespace {

const int pictureBoundMs = 30000;

void tell(const QString& message)
{
    QTextStream(stderr) << "mivo-window: " << message << '\n';
}

/** What the window understands besides the files of plug-ins. */
struct Options
{
    const QCommandLineOption examples{"examples", "Open the example plug-ins too."};
    const QCommandLineOption contacts{"contacts", "Read contacts from the server export <FILE>.",
                                      "FILE"};
    const QCommandLineOption page{
        "page", QString("Show <PAGE> first: %1.").arg(MainWindow::pageNames().join(", ")), "PAGE",
        "contacts"};
    const QCommandLineOption picture{
        "picture", "Write a picture of the page to <FILE>, without a display.", "FILE"};

    QList<QCommandLineOption> all() const { return {examples, contacts, page, picture}; }
};

const char description[] = "Loads plug-ins and shows all that they offer.";
const char filesHelp[] = "A plug-in to open.";

/** Writes the manual page, made of what --help is made of. */
void writeManual()
{
    QCommandLineParser parser;
    ManPage page("mivo-window", "a window on the plug-ins of a messenger");
    page.addSynopsis({"[OPTION...] [FILE...]", "--help", "--version"});
    page.addSection("DESCRIPTION");
    page.addText(description);
    page.addSection("OPTIONS");
    page.addOption("FILE", filesHelp);
    const QList<QCommandLineOption> options
        = QList<QCommandLineOption>({parser.addHelpOption(), parser.addVersionOption()})
        + Options().all();
    for (const QCommandLineOption& option : options) {
        QStringList names;
        const QStringList known = option.names();
        for (const QString& name : known)
            names.append((name.size() == 1 ? "-" : "--") + name);
        page.addOption((names.join(", ") + ' ' + option.valueName()).trimmed(),
                       option.description());
    }
    page.addSection("EXIT STATUS");
    page.addText("0, 1 when something failed, 2 for a page that there is not.");
    QTextStream(stdout) << page.text() << '\n';
}

/** Whether an argument is there before there is an application that could read them. */
bool hasArgument(int argc, char** argv, const char* name)
{
    const QByteArray wanted(name);
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (argument == wanted || argument.startsWith(wanted + '='))
            return true;
    }
    return false;
}

/** Shows the window without a display until it is filled, and writes a picture of it. */
void writePicture(MainWindow& window, const QString& file)
{
    window.resize(900, 700);
    window.show();
    const QDeadlineTimer deadline(pictureBoundMs);
    while (!window.isFilled()) {
        if (deadline.hasExpired())
            throw Failure(
                QString("nothing came to be shown within %1 s").arg(pictureBoundMs / 1000));
        QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
    }
    QCoreApplication::processEvents();
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!window.grab().save(&buffer, "PNG"))
        throw Failure(QString("%1: the picture cannot be made").arg(file));
    Files::write(file, png);
}

} // namespace

int main(int argc, char** argv)
{
    if (hasArgument(argc, argv, "--man")) {
        writeManual();
        return 0;
    }
    const bool isQuestion = hasArgument(argc, argv, "--help") || hasArgument(argc, argv, "-h")
        || hasArgument(argc, argv, "--version") || hasArgument(argc, argv, "-v");
    const bool isPicture = hasArgument(argc, argv, "--picture");
    if (isQuestion || isPicture) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    } else if (qEnvironmentVariableIsEmpty("DISPLAY")
               && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
               && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        tell("there is no display; \"mivo-window --picture FILE.png FILE...\" makes a picture "
             "without one.");
        return 1;
    }

    QApplication application(argc, argv);
    QThread::currentThread()->setObjectName("window"); // as the log calls it
    QCoreApplication::setOrganizationName("Mivo");
    QCoreApplication::setApplicationName("mivo-window");
    QCoreApplication::setApplicationVersion(MIVO_VERSION_STR);
    QGuiApplication::setDesktopFileName("mivo-window");
    QApplication::setWindowIcon(QIcon::fromTheme("mivo-window"));

    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("FILE", filesHelp, "[FILE...]");
    const Options options;
    parser.addOptions(options.all());
    parser.process(application);

    if (isPicture) // nobody's own settings
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/nonexistent");
    {
        MainWindow window;
        try {
            QStringList files;
            if (parser.isSet(options.examples)) {
                for (const char* const name :
                     {"echo", "settings", "roster", "frames_consumer", "frames_producer"})
                    files.append(examplePlugin(name));
            }
            window.open(files + parser.positionalArguments());
            if (parser.isSet(options.contacts))
                window.readContacts(parser.value(options.contacts));
            if (!window.showPage(parser.value(options.page))) {
                tell(QString("there is no page \"%1\"; expected one of %2.")
                         .arg(parser.value(options.page), MainWindow::pageNames().join(", ")));
                return 2;
            }
            if (isPicture) {
                writePicture(window, parser.value(options.picture));
                // What failed stands in the picture as well.
                const QString failures = window.failures();
                if (!failures.isEmpty())
                    tell(failures);
                const int status = failures.isEmpty() ? 0 : 1;
                if (!window.finish())
                    std::_Exit(status);
                return status;
            }
        } catch (const Failure& failure) {
            tell(failure.message());
            return 1;
        }
        window.show();
        QApplication::exec();
        if (!window.finish()) {
            // What a plug-in still does in a thread of its own must not lose what it uses.
            QSettings().sync();
            std::_Exit(0);
        }
    }
    return 0;
}
