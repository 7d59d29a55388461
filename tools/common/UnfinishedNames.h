#pragma once

#include <memory>
#include <string>

namespace host {

// The files of this process that are not complete yet, for whoever has to end it in their midst.
class UnfinishedName {
public:
    // Paths in UTF-8.
    explicit UnfinishedName(const std::string& path);
    UnfinishedName(const UnfinishedName&) = delete;
    UnfinishedName& operator=(const UnfinishedName&) = delete;
    ~UnfinishedName();

    // The file is another one from now on.
    void rename(const std::string& path);
    // What is in the file is worth keeping by now, under this name.
    void keepAs(const std::string& finalPath, bool replace);

    struct Entry;

private:
    std::unique_ptr<Entry> entry_;
};

// Holds the list still, and then removes all that are in it or gives them their names, for a process that
// goes no further. In between its other threads may be stopped wherever they are.
class UnfinishedFilesHeld {
public:
    UnfinishedFilesHeld();
    void remove();
};

// Deletes a file of this process, whoever in it still has it open: handles to it are closed.
void removeThoughOpen(const std::string& path);

}  // namespace host
