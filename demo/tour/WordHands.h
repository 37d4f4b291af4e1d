#pragma once

#include <QString>
#include <QStringList>

namespace zorbel {

/// The tour's hands in the word processor, whose window they find on the same X screen by its title, and send
/// keys with xdotool.
class WordHands {
public:
    /// LibreOffice Writer and xdotool are installed.
    static bool areThere();

    /// The report's window is on the screen.
    bool seesReport() const;
    /// It comes to the front, and is drawn there.
    bool seesItDrawn() const;
    /// Types at the end of the document, and saves it.
    void addAndSave(const QString& text) const;
    void closeReport() const;

private:
    void raiseReport() const;
    bool sendKeys(const QStringList& keys) const;
};

} // namespace zorbel
