#ifndef FRAMESPAGE_H
#define FRAMESPAGE_H

#include "BackgroundHost.h"

#include <QTimer>
#include <QWidget>

class MivoFrameWidget;
class QLabel;
class QPushButton;

/** Shows frames on their way from the plug-in that makes them to the one that checks them. */
class FramesPage : public QWidget
{
    Q_OBJECT

public:
    explicit FramesPage(BackgroundHost& host, QWidget* parent = nullptr);

    /** Whether a frame has been shown, or none can come. */
    bool isFilled() const;

public Q_SLOTS:
    /** Starts the frames, now or when there are plug-ins that make and check them. */
    void start();
    void stop();

Q_SIGNALS:
    void failed(const QString& message);
    void filled();

private:
    void takePlugins();
    void next();
    void show(const CallAnswer& answer);
    void describe();

    BackgroundHost& host;
    PluginInfo producer;
    PluginInfo consumer;
    MivoFrameWidget* const widget;
    QPushButton* const button;
    QLabel* const status;
    QTimer timer;
    bool runs = false;
    bool isWanted = false; ///< as soon as there are plug-ins for it
    bool isAsked = false; ///< for a frame
};

#endif
