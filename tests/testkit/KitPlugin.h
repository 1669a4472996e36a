#ifndef KITPLUGIN_H
#define KITPLUGIN_H

#include <MivoField.h>
#include <MivoHost.h>
#include <MivoPlugin.h>
#include <MivoSecret.h>
#include <MivoService.h>
#include <MivoTimer.h>
#include <MivoTimerReceiver.h>

#include <QThread>
#include <QTimer>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

/** A plug-in that does what it is told, right or wrong. */
class KitPlugin : public MivoPlugin, public MivoTimerReceiver
{
    Q_OBJECT

public:
    ~KitPlugin() override
    {
        go = true;
        if (joined.joinable())
            joined.join();
    }

    QString name() const override { return "kit"; }

    bool initialise(MivoHost& newHost) override
    {
        host = &newHost;
        return willing;
    }
    void shutdown() override
    {
        if (blocksAtTheEnd)
            QThread::msleep(2000);
    }

    QList<MivoField> fields() const override
    {
        if (!formTrouble.isEmpty())
            throw std::runtime_error(formTrouble.toStdString());
        if (!taken.isEmpty())
            return taken;
        MivoField locked(MivoField::LineEdit, "Locked", "locked", "as it is", 10, "");
        locked.setReadOnly(true);
        MivoField hidden(MivoField::CheckBox, "Hidden", "hidden", false, "");
        hidden.setVisible(false);
        const MivoPluginAction press
            = host->action(const_cast<KitPlugin*>(this), "keep", {MivoArg(QString("pressed"))});
        const MivoPluginAction wrong
            = host->action(const_cast<KitPlugin*>(this), "failLater", {MivoArg(1)});
        return {MivoField(MivoField::LineEdit, "Name", "name", "Ann", 8, "People"),
                MivoField("Age", "age", 99, 1, 30, "People"),
                MivoField("Share", "share", 1.0, 0.0, 0.5, "People"),
                MivoField("Colour", "colour", QStringList({"red", "green"}), 0, "Look"),
                MivoField(MivoField::RadioButton, "Day", "day", true, "Look"),
                MivoField(MivoField::RadioButton, "Night", "night", false, "Look"),
                MivoField(MivoField::RadioButton, "Other", "elsewhere", true, "Sound"),
                locked,
                hidden,
                MivoField("Press", "press", press, ""),
                MivoField("Wrong", "wrong", wrong, ""),
                MivoField("Idle", "idle", MivoPluginAction(), "")};
    }
    QString applyFields(const QList<MivoField>& fields) override
    {
        if (fields.at(0).getText() == "nobody")
            return "there is no such user";
        taken = fields;
        taken[0].setText(taken.at(0).getText().toUpper());
        return QString();
    }
    QList<MivoService> services() const override
    {
        return {MivoService("hail", "Hail", "kit",
                            MivoPluginAction(const_cast<KitPlugin*>(this), &MivoPlugin::runByName,
                                             {MivoArg(QString("keep")), MivoArg(5)}))};
    }

    void onTimer(const QString& timerName) override
    {
        fired.append(timerName + " in " + QThread::currentThread()->objectName());
        if (timerName == "trouble")
            throw std::runtime_error("out of time");
    }

    bool willing = true;
    bool blocksAtTheEnd = false;
    QString formTrouble;

public Q_SLOTS:
    void echo(MivoPlugin*, QList<MivoArg>&) { }
    void whoAsks(MivoPlugin* sender, QList<MivoArg>& arguments) { arguments = {MivoArg(sender)}; }
    void whichThread(MivoPlugin*, QList<MivoArg>& arguments)
    {
        arguments = {MivoArg(QThread::currentThread()->objectName())};
    }
    void fail(MivoPlugin*, QList<MivoArg>& arguments)
    {
        throw std::runtime_error(arguments.value(0).toString().toStdString());
    }
    void sleep(MivoPlugin*, QList<MivoArg>& arguments)
    {
        QThread::msleep(static_cast<unsigned long>(arguments.value(0).toInt()));
    }
    void kept(MivoPlugin*, QList<MivoArg>& arguments) { arguments = keptValues; }
    void whatFired(MivoPlugin*, QList<MivoArg>& arguments) { arguments = {MivoArg(fired)}; }
    void startTimer(MivoPlugin*, QList<MivoArg>& arguments)
    {
        timer.startTimer(this, 3600000, arguments.value(0).toString());
    }
    void stopTimer(MivoPlugin*, QList<MivoArg>&) { timer.stopTimer(); }
    void startPlainTimer(MivoPlugin*, QList<MivoArg>& arguments)
    {
        QTimer* const plain = new QTimer(this);
        plain->setObjectName(arguments.value(0).toString());
        plain->setSingleShot(true);
        connect(plain, &QTimer::timeout, this, [this, plain] { onTimer(plain->objectName()); });
        plain->start(3600000);
    }
    /** Calls the plug-in "other": the String is its slot, what follows its arguments. */
    void askOther(MivoPlugin*, QList<MivoArg>& arguments)
    {
        const QString slot = arguments.takeFirst().toString();
        arguments = host->call(host->findPlugin("other"), slot, arguments, this);
    }
    void postToOther(MivoPlugin*, QList<MivoArg>& arguments)
    {
        const QString slot = arguments.takeFirst().toString();
        host->action(host->findPlugin("other"), slot, arguments)();
        arguments.clear();
    }
    void postToItself(MivoPlugin*, QList<MivoArg>& arguments)
    {
        host->action(this, arguments.takeFirst().toString(), arguments)();
        arguments.clear();
    }
    void leaveObject(MivoPlugin*, QList<MivoArg>& arguments)
    {
        QObject* const left = new QTimer;
        left->setObjectName(arguments.value(0).toString());
        leftObject = left;
    }
    void leaveThread(MivoPlugin*, QList<MivoArg>&)
    {
        std::thread([] {
            while (!endsLeftThreads)
                std::this_thread::yield();
        }).detach();
    }
    void joinThread(MivoPlugin*, QList<MivoArg>&)
    {
        joined = std::thread([this] {
            while (!go)
                std::this_thread::yield();
        });
    }
    void useChildren(MivoPlugin*, QList<MivoArg>&) { new QTimer(new QObject(this)); }

    void keep(QList<MivoArg>& arguments) { keptValues = arguments; }
    void failLater(QList<MivoArg>&) { throw std::runtime_error("failed later"); }
    void sleepLater(QList<MivoArg>& arguments)
    {
        QThread::msleep(static_cast<unsigned long>(arguments.value(0).toInt()));
    }
    void leaveObjectLater(QList<MivoArg>&) { leftObject = new QObject; }

public:
    static inline std::atomic<bool> endsLeftThreads{false};
    static inline QObject* leftObject = nullptr; // for the test to delete

private:
    MivoHost* host = nullptr;
    MivoTimer timer;
    QStringList fired;
    QList<MivoArg> keptValues; // written in the dispatcher's thread, and waited for
    QList<MivoField> taken;
    std::thread joined;
    std::atomic<bool> go{false};
};

#endif
