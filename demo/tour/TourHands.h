#pragma once

#include <QKeySequence>
#include <QObject>
#include <QPointF>
#include <QSet>
#include <QString>

#include <vector>

class QWidget;

namespace zorbel {

class MainWindow;
class MprGuide;

/// The tour's hands and eyes: finds the program's widgets by their object names, sends them the events of
/// mouse and keyboard, and sees what the program shows. What is not on the screen is not touched, so that the
/// stop that wanted it is not reached.
class TourHands : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Null before the sign-in.
    MainWindow* mainWindow();
    /// The program's widget of this name that the user can see; null when there is none.
    QWidget* visible(const QString& objectName) const;
    template <typename Widget>
    Widget* find(const QString& objectName) const {
        return qobject_cast<Widget*>(visible(objectName));
    }
    /// A visible label's text.
    QString text(const QString& objectName) const;
    bool isChecked(const QString& objectName) const;

    /// Whether keys reach the main window or a dialog over it. Where they do not, asks for it: on a screen
    /// without a window manager nobody else does when a dialog closes.
    bool takeKeyboard();
    void click(const QString& objectName);
    /// Replaces what stands in a field.
    void type(const QString& objectName, const QString& text);
    /// With the main window's keys.
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// Picks an entry of a drop-down list.
    void choose(const QString& objectName, int index);
    void turnWheel(const QString& objectName, int notches);
    /// With the left button, from the path's first point to its last.
    void
    drag(const QString& objectName, const std::vector<QPointF>& path, Qt::KeyboardModifiers modifiers = {});
    /// Takes a rotation handle of the axial view and leads it around the crosshair, a little less than 30°:
    /// Shift makes it that.
    void turnPlanes();
    /// Null while no planes are shown.
    const MprGuide* axialGuide() const;
    void closeMessage();

    /// −1 when no row of the study list holds the text.
    int rowContaining(const QString& text) const;
    int rowOfStudy(const QString& studyUid) const;
    QString studyOfRow(int row) const;
    int rowCount() const;
    void openRow(int row);
    bool wasOpened(const QString& studyUid) const { return opened_.contains(studyUid); }

    /// What is drawn from now on counts as the study's.
    void awaitStudy() { displayed_ = false; }
    /// The study opened last is displayed; its 3D view may still be drawn.
    bool studyShown() const { return displayed_; }
    /// All visible views are drawn in full quality, or the 3D view says why it is not.
    bool viewsSettled() const;

private:
    bool displayed_ = false;
    QSet<QString> opened_;
    MainWindow* watched_ = nullptr;
};

} // namespace zorbel
