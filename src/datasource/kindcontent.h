// How the kinds recognise a file by its first bytes (see Kind::recognise).
#pragma once

#include "datasource/kinds.h"

namespace rq {

// "Standard Jet DB" or "Standard ACE DB" at offset 4.
bool isJetDatabase(const ContentProbe& p);
// The compound-file signature of workbooks.
bool isCompoundFile(const ContentProbe& p);
// A worksheet's first record with the version of release 1-2 (with .wks),
// release 3, or release 4 and later (with .123).
bool isLotusWk1(const ContentProbe& p);
bool isLotusWk3(const ContentProbe& p);
bool isLotusWk4(const ContentProbe& p);
// A dBase or a FoxPro table header (the version byte tells them apart).
bool isDbaseTable(const ContentProbe& p);
bool isFoxProTable(const ContentProbe& p);
bool isParadoxTable(const ContentProbe& p);
// FILE.DDF by name, or a data file of the engine with FIELD.DDF beside it.
bool isBtrieveDictionary(const ContentProbe& p);

}  // namespace rq
