#pragma once

#include <QDir>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace zorbel::test {

/// How a program ended and what it printed.
struct Outcome {
    int code = -1; ///< -1: it crashed or did not end
    QString output;
};

/// Whether the process prints the text before it ends.
bool waitForOutput(QProcess& process, const QByteArray& text);

/// Folders for one user of the program: configuration, cache, data and temporary files. Its programs have all
/// the time that ctest gives.
class ProgramHome {
public:
    ProgramHome();

    void set(const char* variable, const char* value);
    std::unique_ptr<QProcess> start(const QString& program, const QStringList& arguments) const;
    Outcome run(const QString& program, const QStringList& arguments) const;

    QString path(const char* name) const { return folder_.filePath(QString::fromLatin1(name)); }
    QString log() const;
    QStringList logLines() const;
    bool hasSessionLock() const;
    /// Names of the session workspaces in the temporary folder.
    QStringList workspaces() const;
    /// Where in the files left behind one of these words, a bearer token, or the e-mail address outside its
    /// one setting occurs: "file: what". Archived images below the cache folder may hold the words, and the
    /// manifests there digests.
    QStringList secretsFound(const QStringList& words, const QString& email) const;

private:
    QTemporaryDir folder_;
    QProcessEnvironment environment_;
};

} // namespace zorbel::test
