#pragma once

#include <optional>
#include <string>

#include "common/Failure.h"
#include "common/Json.h"

namespace smworker {

using host::Json;

// JSON-RPC's own numbers, and those that this protocol adds. What host::FailureCode knows has its number
// there.
enum class ErrorCode {
    NoJson = -32700,
    InvalidRequest = -32600,
    UnknownMethod = -32601,
    InvalidParams = -32602,
    Internal = -32603,
    NotInitialized = -32002,
    Busy = -32001,
    WrongState = -32003,
    Cancelled = -32800,
};

struct ProtocolError {
    ErrorCode code;
    std::string text;
    int pagesKept = 0;
};

struct Request {
    std::optional<Json> id;  // without one there is no answer
    std::string method;
    Json params = Json::object();
};

// Puts a line into the request, as far as it can be read: the id is there when the rest is wrong. Throws
// ProtocolError.
void readRequest(const std::string& line, Request& request);

// A member of that name, if there is one; nullptr also for null.
const Json* findMember(const Json& params, const char* name);

// Each is one line.
std::string resultLine(const Json& id, Json result);
std::string errorLine(const Json& id, const ProtocolError& error);
std::string errorLine(const Json& id, const host::Failure& failure);
std::string notificationLine(const char* method, Json params);

}  // namespace smworker
