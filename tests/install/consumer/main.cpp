#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoPluginThread.h>
#include <MivoWait.h>

#include <QCoreApplication>
#include <QTextStream>

namespace {

// A plug-in that is part of the program.
class Calculator : public MivoPlugin
{
public:
    void add(MivoPlugin*, QList<MivoArg>& arguments)
    {
        const int sum = arguments.at(0).toInt() + arguments.at(1).toInt();
        arguments.clear();
        arguments.append(sum);
    }

    void show(QList<MivoArg>& arguments)
    {
        QTextStream(stdout) << "The action says: " << arguments.at(0).toString() << '\n';
    }
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);

    MivoHost host;
    Calculator* const calculator = new Calculator;
    host.add(calculator);
    QString error;
    if (!host.start(&error)) {
        QTextStream(stderr) << error << '\n';
        return 1;
    }

    // A synchronous call: it runs in the plug-in's thread, and this one waits for the answer.
    const QList<MivoArg> sum = MivoWait::callSlot(
        calculator, static_cast<MivoCallSlotEvent::Member>(&Calculator::add), nullptr,
        QList<MivoArg>() << MivoArg(40) << MivoArg(2), host.threadOf(calculator));
    QTextStream(stdout) << "40 + 2 = " << sum.at(0).toInt() << '\n';

    // A value is read as the kind that it has, or not at all.
    try {
        sum.at(0).toString();
    } catch (const std::runtime_error& refusal) {
        QTextStream(stdout) << refusal.what() << '\n';
    }

    // An action is posted; the dispatcher's thread delivers it.
    MivoPluginAction action(calculator, static_cast<MivoPluginAction::Member>(&Calculator::show),
                            QList<MivoArg>() << MivoArg(QString::fromLatin1("done")));
    action();
    host.shutdown();
    return 0;
}
