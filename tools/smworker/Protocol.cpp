#include "smworker/Protocol.h"

#include <utility>

#include "common/Conditions.h"
#include "common/Text.h"
#include "smworker/LineReader.h"

namespace smworker {

using host::format;

namespace {

constexpr int deepest = 32;

[[noreturn]] void refuse(const std::string& text) {
    throw ProtocolError{ErrorCode::InvalidRequest, text};
}

Json parse(const std::string& line) {
    if (line.size() > longestLine)
        throw ProtocolError{ErrorCode::NoJson, format("A line may have %d bytes, this one has more.",
                                                      static_cast<int>(longestLine))};
    // What is nested deeper could use up the stack in whatever goes through it.
    const auto limitDepth = [](int depth, Json::parse_event_t, const Json&) {
        if (depth > deepest)
            throw ProtocolError{ErrorCode::NoJson, format("Nested more than %d deep.", deepest)};
        return true;
    };
    try {
        return Json::parse(line, limitDepth);
    } catch (const Json::parse_error& error) {
        throw ProtocolError{ErrorCode::NoJson,
                            format("Not JSON in UTF-8, at byte %d.", static_cast<int>(error.byte))};
    } catch (const Json::exception&) {
        throw ProtocolError{ErrorCode::NoJson, "Not JSON: a number in it is too large."};
    }
}

std::string line(const Json& id, const char* kind, Json content) {
    return host::jsonLine({{"jsonrpc", "2.0"}, {"id", id}, {kind, std::move(content)}});
}

}  // namespace

void readRequest(const std::string& line, Request& request) {
    Json message = parse(line);
    if (message.is_array()) refuse("Several requests in one array aren't taken: send one a line.");
    if (!message.is_object()) refuse("A request is an object.");
    if (const auto id = message.find("id"); id != message.end()) {
        if (!id->is_string() && !id->is_number()) refuse("\"id\" is a text or a number.");
        request.id = std::move(*id);
    }
    const Json* const version = findMember(message, "jsonrpc");
    if (!version || *version != "2.0") refuse("\"jsonrpc\" is \"2.0\".");
    const Json* const method = findMember(message, "method");
    if (!method || !method->is_string()) refuse("\"method\" is missing, or no text.");
    request.method = method->get<std::string>();
    if (const auto params = message.find("params"); params != message.end()) {
        if (!params->is_object())
            throw ProtocolError{ErrorCode::InvalidParams,
                                "\"params\" is an object with a name for each value."};
        request.params = std::move(*params);
    }
}

const Json* findMember(const Json& params, const char* name) {
    const auto found = params.find(name);
    return found == params.end() || found->is_null() ? nullptr : &*found;
}

std::string resultLine(const Json& id, Json result) {
    return line(id, "result", std::move(result));
}

std::string errorLine(const Json& id, const ProtocolError& error) {
    Json content{{"code", static_cast<int>(error.code)}, {"message", error.text}};
    if (error.code == ErrorCode::Cancelled) content["data"] = {{"pagesKept", error.pagesKept}};
    return line(id, "error", std::move(content));
}

std::string errorLine(const Json& id, const host::Failure& failure) {
    Json data{{"pagesKept", failure.pagesKept}};
    if (failure.page > 0) data["page"] = failure.page;
    if (failure.condition) {
        data["condition"] = *failure.condition;
        data["conditionName"] = host::conditionName(*failure.condition);
    }
    return line(
        id, "error",
        {{"code", static_cast<int>(failure.code)}, {"message", failure.text}, {"data", std::move(data)}});
}

std::string notificationLine(const char* method, Json params) {
    return host::jsonLine({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}});
}

}  // namespace smworker
