// Telling a damaged archive from a sound one and naming what is damaged.
//
// The listing can be checked against the file: each header's checksum, and
// whether the entries reach the end of the file and no further. The data can
// be checked only by decoding it; the plug-in reports one status for a whole
// test, so the names come from the extraction library itself, which acearc
// asks directly for every damage it finds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"

namespace acearc {

struct Damage {
  std::string entry;  // the affected entry as shown; empty when no entry can be named
  std::string what;
  bool endsInHeader = false;  // the file ends inside this entry's header

  // "damaged entry NAME: WHAT", or WHAT alone.
  std::string Line() const;
};

// What is wrong with a listing of every entry of `archive` (recovery records
// included); empty when the listed headers are intact and the entries end
// exactly at the end of the file.
std::vector<Damage> CheckListing(const std::string& archive,
                                 const std::vector<const ArcFileEntry*>& entries);

// Tests `archive` with the extraction library beside the plug-in, going on
// after every damage it reports, and describes each one. nullopt when the
// library cannot be loaded.
std::optional<std::vector<Damage>> DescribeDamage(const std::string& archive,
                                                  const std::optional<std::string>& password);

}  // namespace acearc
