#pragma once

#include <string>

/// Names of an entry's files in the state folder. An entry's newer content waits in a hidden file beside it until it is
/// on the disk, and gets that hidden name when it is whole.
namespace recordkeeping::pendingnames {

/// A name that sorts by the time of the announcement, now.
std::string madeNow();

/// The hidden file with newer content.
std::string fresh(const std::string& name);

/// That file while it is being written.
std::string unfinished(const std::string& name);

bool isFresh(const std::string& file);
bool isUnfinished(const std::string& file);

/// The entry's name, of whichever of its files.
std::string nameOf(const std::string& file);

}  // namespace recordkeeping::pendingnames
