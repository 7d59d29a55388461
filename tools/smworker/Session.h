#pragma once

#include <memory>
#include <optional>
#include <string>

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/OpenSource.h"
#include "common/ScanRequest.h"
#include "smworker/Inbox.h"
#include "smworker/Outbox.h"
#include "smworker/Protocol.h"

namespace smworker {

// What a client has with the worker: answers its requests on the main thread.
class Session {
public:
    Session(Inbox& inbox, Outbox& outbox) : inbox_(inbox), outbox_(outbox) {}

    void answer(const Request& request);

private:
    Json initialize(const Request& request);
    Json listSources(const Request& request);
    Json makeDefault(const Request& request);
    Json open(const Request& request);
    Json capabilities(const Request& request);
    Json set(const Request& request);
    Json scan(const Request& request);
    Json close(const Request& request);
    Json shutdown(const Request& request);

    struct Method {
        const char* name;
        Json (Session::*run)(const Request&);
        enum class Needs { Nothing, Initialized, NoSource, Source } needs;
    };
    static const Method methods[];
    const Method& methodOf(const Request& request) const;
    std::string lineFor(const Request& request);
    const host::ModuleLibrary& module();

    Inbox& inbox_;
    Outbox& outbox_;
    bool initialized_ = false;
    // In the order in which they need each other.
    std::optional<host::ModuleLibrary> module_;
    std::optional<host::HostWindow> window_;
    std::optional<host::OpenSource> source_;
    std::string sourceName_;
    bool ofMaker_ = false;
    host::ScanRequest settings_;  // that hold for each scan until the source is closed
};

}  // namespace smworker
