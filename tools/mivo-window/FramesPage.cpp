#include "FramesPage.h"

#include <MivoBuffer.h>
#include <MivoFrameWidget.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace {

const int framesMs = 50; // between two frames that are fetched

} // namespace

FramesPage::FramesPage(BackgroundHost& usedHost, QWidget* parent)
    : QWidget(parent)
    , host(usedHost)
    , widget(new MivoFrameWidget)
    , button(new QPushButton)
    , status(new QLabel)
{
    setObjectName("frames");
    widget->setAccessibleName(tr("Frame"));
    button->setObjectName("startFrames");
    QHBoxLayout* const top = new QHBoxLayout;
    top->addWidget(button);
    top->addWidget(status, 1);
    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(widget, 1);
    connect(button, &QPushButton::clicked, this, [this] { runs ? stop() : start(); });
    connect(&timer, &QTimer::timeout, this, &FramesPage::next);
    connect(&host, &BackgroundHost::opened, this, &FramesPage::takePlugins);
    connect(&host, &BackgroundHost::closing, this, [this] {
        stop(); // the host cannot shut down while frames are under way
        producer = PluginInfo();
        consumer = PluginInfo();
        describe();
    });
    timer.setInterval(framesMs);
    takePlugins();
}

bool FramesPage::isFilled() const
{
    return widget->shownFrames() > 0 || !producer.plugin || !consumer.plugin;
}

void FramesPage::takePlugins()
{
    for (const PluginInfo& plugin : host.plugins()) {
        if (plugin.calls.contains("start") && plugin.calls.contains("rings"))
            producer = plugin;
        if (plugin.calls.contains("keepFrame") && plugin.calls.contains("keptFrame"))
            consumer = plugin;
    }
    describe();
    if (isWanted)
        start();
}

void FramesPage::describe()
{
    const bool isPossible = producer.plugin && consumer.plugin;
    button->setText(runs ? tr("S&top") : tr("S&tart"));
    button->setEnabled(isPossible);
    if (!isPossible)
        status->setText(tr("Open the plug-ins frames_consumer and frames_producer to see frames."));
    else if (widget->shownFrames() > 0)
        status->setText(tr("%1 frames shown, %2 skipped")
                            .arg(widget->shownFrames())
                            .arg(widget->skippedFrames()));
    else
        status->setText(QString());
}

void FramesPage::start()
{
    isWanted = true;
    if (runs || !producer.plugin || !consumer.plugin)
        return;
    isWanted = false;
    runs = true;
    describe();
    host.call(producer, "start", {MivoArg(640), MivoArg(360), MivoArg(16.0F / 9.0F)}, this,
              [this](const CallAnswer& answer) {
                  if (answer.isGiven) {
                      timer.start();
                      return;
                  }
                  runs = false;
                  describe();
                  Q_EMIT failed(tr("The frames were not started: %1").arg(answer.error));
              });
}

void FramesPage::stop()
{
    if (!runs)
        return;
    runs = false;
    timer.stop();
    host.call(producer, "stop", {}, this, [](const CallAnswer&) {});
    describe();
}

void FramesPage::next()
{
    describe();
    if (isAsked || !runs)
        return;
    isAsked = true;
    host.call(consumer, "keptFrame", {}, this, [this](const CallAnswer& answer) { show(answer); });
}

void FramesPage::show(const CallAnswer& answer)
{
    isAsked = false;
    if (!runs)
        return;
    if (answer.values.size() >= 3) {
        // Copied in the plug-in's thread, before the next one is kept.
        MivoFrameWidget* const shown = widget;
        unsigned char* const bytes = static_cast<unsigned char*>(answer.values.at(0).toPointer());
        const QSize size(answer.values.at(1).toInt(), answer.values.at(2).toInt());
        host.inPlugin(consumer, [shown, bytes, size] {
            MivoBuffer frame(3L * size.width() * size.height(), bytes, false);
            shown->showFrame(&frame, size);
        });
        Q_EMIT filled();
    }
    host.call(consumer, "keepFrame", {}, this, [](const CallAnswer&) {});
}
