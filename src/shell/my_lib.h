#pragma once
#include <QColor>
#include <QString>

// Shared routines and constants. InitMyLib makes the empty data folder net.tallowby.Lumox in the
// user's data folder; the settings file lives beside that folder, never in it.
namespace myLib {

extern QString AppName;
extern QString AppBundleID;
extern QString ApplicationDataFolder;  // empty when it can't be formed
extern QString PrefsFile;              // named only; nothing opens it
extern double pi;
extern QColor black;
extern QColor red;
extern QColor green;
extern QColor blue;
extern QString CR;
extern QString DQUOTE;

inline const char* const kNoDataFolderMessage = "Sorry, I can't seem to create the applications data folder: ";
inline const char* const kNoPrefsMessage = "Sorry, I can't seem to create the prefs folder";

void InitMyLib(const QString& name);
void MakeBundleID();
void MakeApplicationFolder();
void MakePrefsFileName();

}  // namespace myLib
