#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <functional>
#include <vector>

class QWidget;

namespace zorbel {

class MainWindow;

/// Drives the running program through its windows with mouse and keyboard events, and saves a picture of the
/// whole window at each stop. It knows the widgets by their object names alone.
class GuidedTour : public QObject {
    Q_OBJECT

public:
    /// email, password: an account of the demo service.
    GuidedTour(QDir pictures, QString email, QString password, QObject* parent = nullptr);

    /// Every stop was reached.
    bool succeeded() const { return succeeded_; }

private:
    /// One stop: what the tour does to get there, and how it sees that it is there.
    struct Stop {
        QString name;
        std::function<void()> act;
        std::function<bool()> reached;
        bool picture = true;
    };

    void planSignIn();
    void planReading();
    void planSeriesChoice();
    void planRefusal();
    /// Every listed study that was not opened yet: what the user imported.
    void planFurtherStudies();
    void addOpening(const QString& name, std::function<int()> row);
    void
    add(const QString& name, std::function<void()> act, std::function<bool()> reached, bool picture = true);

    void poll();
    void finish(bool success);
    void savePicture(const QString& name);

    MainWindow* mainWindow();
    /// The program's widget of this name that the user can see; null when there is none.
    QWidget* visible(const char* objectName) const;
    int rowContaining(const QString& text) const;
    void openRow(int row);
    bool studyShown() const;

    QDir pictures_;
    QString email_;
    QString password_;
    std::vector<Stop> stops_;
    std::size_t current_ = 0;
    bool acted_ = false;
    int taken_ = 0;
    bool succeeded_ = false;
    bool displayed_ = false;   ///< the study opened last is drawn in all its views
    bool stillVolume_ = false; ///< and the 3D view in full quality
    QSet<QString> opened_;
    MainWindow* watched_ = nullptr;
    QElapsedTimer sinceAct_;
    QTimer timer_;
};

} // namespace zorbel
