#pragma once

#include <map>
#include <string>

/// Takes one network connection into account. One of another provider than "ClearCase Dynamic
/// Views" counts for nothing. One to `\\view` makes its local name, in upper case, the MVFS drive.
/// Of any other the local name, in upper case, leads to the view tag, which is what follows
/// `\\view\`: seven characters that are cut off unread, so that a remote name of fewer leaves an
/// empty tag. Later connections replace earlier ones. Null stands for an empty text.
void takeConnection(const char* localName, const char* remoteName, const char* provider,
                    std::string& mvfsRoot, std::map<std::string, std::string>& viewDrives);
