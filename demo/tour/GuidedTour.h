#pragma once

#include "TourHands.h"

#include <QDir>
#include <QElapsedTimer>
#include <QObject>
#include <QPixmap>
#include <QString>
#include <QTimer>

#include <functional>
#include <vector>

namespace zorbel {

/// Drives the running program through its windows with mouse and keyboard events, and saves a picture of the
/// whole window at each stop. It gives up only where nothing is to be seen to move for a long time.
class GuidedTour : public QObject {
    Q_OBJECT

public:
    /// picturesBefore: how many numbers of pictures are used.
    explicit GuidedTour(QDir pictures, int picturesBefore = 0, QObject* parent = nullptr);

    TourHands& hands() { return hands_; }

    /// Adds a stop: what the tour does to get there, and how it sees that it is there. Only a picture waits
    /// until all views are drawn in full quality. Acting may add stops, which come last.
    void
    add(const QString& name, std::function<void()> act, std::function<bool()> reached, bool picture = true);
    /// A stop whose picture shows the whole screen, other programs' windows with it.
    void addScreen(const QString& name, std::function<void()> act, std::function<bool()> reached);
    /// A stop that opens the study in the first row that holds the text, and is reached when it is shown and
    /// `shown`, if any, is true.
    void addOpening(
        const QString& name, const QString& rowText, std::function<bool()> shown = {}, bool picture = true);
    void start() { timer_.start(20); }

    /// Every stop was reached.
    bool succeeded() const { return succeeded_; }
    /// Those before it included.
    int picturesTaken() const { return taken_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Stop {
        QString name;
        std::function<void()> act;
        std::function<bool()> reached;
        bool picture = true;
        bool wholeScreen = false;
    };

    void poll();
    void finish(bool success);
    void savePicture(const QString& name, bool wholeScreen = false);
    QPixmap windows();

    QDir pictures_;
    TourHands hands_;
    std::vector<Stop> stops_;
    std::size_t current_ = 0;
    bool acted_ = false;
    int taken_ = 0;
    bool succeeded_ = false;
    QElapsedTimer sinceAct_;
    QElapsedTimer sinceProgress_;
    QTimer timer_;
};

} // namespace zorbel
