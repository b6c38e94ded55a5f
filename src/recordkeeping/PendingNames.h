#pragma once

#include <string>

/// Names of an entry's files in the state folder. An entry's newer content waits in a hidden file beside it until it is
/// synced; that file gets its hidden name when it is complete.
namespace recordkeeping::pendingnames {

/// A name for the current time that sorts by the time of the announcement.
std::string madeNow();

/// The hidden file that holds newer content.
std::string fresh(const std::string& name);

/// That file while it is being written.
std::string unfinished(const std::string& name);

bool isFresh(const std::string& file);
bool isUnfinished(const std::string& file);

/// The entry's name, given any of its files.
std::string nameOf(const std::string& file);

}  // namespace recordkeeping::pendingnames
