#include "smworker/Session.h"

#include <Version.h>

#include <algorithm>
#include <exception>

#include "common/CapsQuery.h"
#include "common/Display.h"
#include "common/PageScan.h"
#include "common/ScanPreparation.h"
#include "common/SourceChoice.h"
#include "common/Text.h"
#include "smworker/ScanEvents.h"
#include "smworker/ScanOrder.h"

namespace smworker {

using host::Failure;
using host::format;

namespace {

constexpr int protocolVersion = 1;

[[noreturn]] void refuse(ErrorCode code, const std::string& text) {
    throw ProtocolError{code, text};
}

// A source as `open` and `makeDefault` are told it: its name, a part of it, or its number.
std::string sourceOf(const Json& params) {
    const Json* const source = findMember(params, "source");
    if (!source) return "";
    if (source->is_number_unsigned()) return source->dump();
    if (!source->is_string())
        refuse(ErrorCode::InvalidParams, "source is a name or a number of listSources.");
    return source->get<std::string>();
}

}  // namespace

const Session::Method Session::methods[] = {
    {"initialize", &Session::initialize, Method::Needs::Nothing},
    {"listSources", &Session::listSources, Method::Needs::NoSource},
    {"makeDefault", &Session::makeDefault, Method::Needs::NoSource},
    {"open", &Session::open, Method::Needs::NoSource},
    {"capabilities", &Session::capabilities, Method::Needs::Source},
    {"set", &Session::set, Method::Needs::Source},
    {"scan", &Session::scan, Method::Needs::Source},
    {"close", &Session::close, Method::Needs::Source},
    {"shutdown", &Session::shutdown, Method::Needs::Nothing},
};

const Session::Method& Session::methodOf(const Request& request) const {
    using Needs = Method::Needs;
    const auto method = std::find_if(std::begin(methods), std::end(methods),
                                     [&](const Method& m) { return request.method == m.name; });
    if (method == std::end(methods))
        refuse(ErrorCode::UnknownMethod, format("There is no method \"%s\".", request.method.c_str()));
    if (method->needs != Needs::Nothing && !initialized_)
        refuse(ErrorCode::NotInitialized, "initialize comes first.");
    if (method->needs == Needs::Source && !source_)
        refuse(ErrorCode::WrongState, format("%s needs an open source.", method->name));
    if (method->needs == Needs::NoSource && source_)
        refuse(ErrorCode::WrongState,
               format("%s can't be while a source is open: close it first.", method->name));
    return *method;
}

void Session::answer(const Request& request) {
    const std::string line = lineFor(request);
    // Who has the answer can send the next scan.
    inbox_.done();
    if (request.id) outbox_.send(line);
}

std::string Session::lineFor(const Request& request) {
    const Json id = request.id.value_or(nullptr);
    try {
        return resultLine(id, (this->*methodOf(request).run)(request));
    } catch (const ProtocolError& error) {
        return errorLine(id, error);
    } catch (const Failure& failure) {
        return errorLine(id, failure);
    } catch (const std::exception&) {
        return errorLine(id, host::outOfMemory());
    }
}

// Loaded when it is first needed, so that the worker is there at once.
const host::ModuleLibrary& Session::module() {
    if (!module_) module_.emplace();
    if (!window_) window_.emplace();
    host::requireManager(*module_);
    return *module_;
}

Json Session::initialize(const Request& request) {
    if (initialized_) refuse(ErrorCode::WrongState, "initialize was called before.");
    const Json* const version = findMember(request.params, "protocolVersion");
    if (!version || !version->is_number_integer() || *version < 1)
        refuse(ErrorCode::InvalidParams, "protocolVersion is a whole number from 1 on.");
    initialized_ = true;
    return {{"protocolVersion", protocolVersion},
            {"name", "smworker"},
            {"version", SCANMODULE_VERSION_TEXT},
            {"processId", GetCurrentProcessId()}};
}

Json Session::listSources(const Request&) {
    const host::ModuleLibrary& loaded = module();
    const host::SourceList list = host::listSources(loaded, window_->handle());
    Json sources = Json::array();
    for (const std::string& name : list.names)
        sources.push_back(
            host::sourceJson(static_cast<int>(sources.size()) + 1, name, name == list.defaultName));
    return {{"sources", std::move(sources)}};
}

Json Session::makeDefault(const Request& request) {
    const std::string source = sourceOf(request.params);
    if (source.empty()) refuse(ErrorCode::InvalidParams, "source is missing.");
    const host::ModuleLibrary& loaded = module();
    return {{"source", host::makeDefault(loaded, window_->handle(), source)}};
}

Json Session::open(const Request& request) {
    const std::string source = sourceOf(request.params);
    const Json* const select = findMember(request.params, "select");
    if (select && !select->is_boolean()) refuse(ErrorCode::InvalidParams, "select is true or false.");
    const bool byDialog = select && select->get<bool>();
    if (byDialog && !source.empty())
        refuse(ErrorCode::InvalidParams, "select and source exclude each other: both choose the source.");
    if (byDialog && !host::hasDisplay()) outbox_.send(notificationLine("note", {{"text", host::noDisplay}}));
    const host::ModuleLibrary& loaded = module();
    const std::vector<std::string> makers = host::makersSources(loaded);  // asked while no source is chosen
    if (byDialog)
        host::chooseByDialog(loaded, window_->handle());
    else if (!source.empty())
        host::chooseByName(loaded, window_->handle(), source);
    source_.emplace(loaded, window_->handle());
    sourceName_ = host::productName(loaded);
    ofMaker_ = std::count(makers.begin(), makers.end(), sourceName_) > 0;
    settings_ = {};
    return {{"source", sourceName_}};
}

Json Session::capabilities(const Request&) {
    Notes notes;
    host::useInches(module(), notes);
    return host::capsJson(sourceName_, host::queryCaps(*module_, ofMaker_));
}

Json Session::set(const Request& request) {
    const host::ScanRequest settings = readSettings(request.params, settings_);
    Notes notes;
    host::applyRequest(module(), settings, notes);
    settings_ = settings;
    Json result = host::capsJson(sourceName_, host::presentValues(host::queryCaps(*module_, ofMaker_)));
    result["notes"] = notes.all();
    return result;
}

Json Session::scan(const Request& request) {
    ScanOrder order = readScan(request.params, settings_);
    ScanEvents events(outbox_, request.id.value_or(nullptr), order.progressMs);
    window_->begin();
    const Inbox::ScanWindow cancelled(inbox_, *window_);
    try {
        host::PageOutput output(order.output, order.request.pages != 1);
        output.prepare(order.request.pages, events);
        if (order.request.ui && !host::hasDisplay()) events.note(host::noDisplay);
        host::scanOpened(*module_, *source_, order.request, output, *window_, events);
    } catch (const Failure& failure) {
        if (failure.code != host::FailureCode::Cancelled || !window_->cancelRequested()) throw;
        throw ProtocolError{ErrorCode::Cancelled, failure.text, failure.pagesKept};
    }
    return {{"pages", events.pages()}};
}

Json Session::close(const Request&) {
    source_.reset();
    return Json::object();
}

Json Session::shutdown(const Request&) {
    source_.reset();
    return Json::object();
}

}  // namespace smworker
