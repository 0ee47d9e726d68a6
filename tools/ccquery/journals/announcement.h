#pragma once

#include <functional>
#include <string>

#include "tools/ccquery/journals/journalline.h"

namespace ccquery {

/// Something in a journal that a configuration can't make the fake repeat.
struct Announcement {
    /// The line, or the first of the lines that ask this and had this answer.
    JournalPlace place;
    /// What it is about: "getElementStatus 'C:\a'". May contain any text of the journal.
    std::string question;
    std::string problem;  ///< what differs, and what to do
    /// Whether it only says what a configuration doesn't hold, and nothing is known to differ.
    bool isNote = false;
};

using Announce = std::function<void(const Announcement&)>;

}  // namespace ccquery
