#include "smworker/ScanOrder.h"

#include <algorithm>
#include <cmath>

#include "common/OutputValues.h"
#include "common/Text.h"
#include "common/ValueTexts.h"

namespace smworker {

using host::Failure;
using host::format;

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw ProtocolError{ErrorCode::InvalidParams, text};
}

// As people would type it.
std::string textOf(const std::string& name, const Json& value) {
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        // For Windows the text would end there.
        if (text.find('\0') != std::string::npos)
            refuse(format("%s has a null character in it.", name.c_str()));
        return text;
    }
    if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
    if (value.is_number_integer()) return value.dump();
    if (value.is_number()) {
        const double number = value.get<double>();
        return std::floor(number) == number ? format("%.0f", number) : format("%.10g", number);
    }
    const auto isNumber = [](const Json& item) { return item.is_number(); };
    if (!value.is_array() || !std::all_of(value.begin(), value.end(), isNumber))
        refuse(format("%s takes a text, a number, true or false.", name.c_str()));
    std::string text;
    for (const Json& item : value)
        text += (text.empty() ? "" : ",") + textOf(name, item);
    return text;
}

void readSwitches(const Json& switches, host::ScanRequest& request) {
    if (!switches.is_object()) refuse("switches is an object with a value for each name.");
    for (const auto& [name, value] : switches.items())
        host::setRequestValue(request, "set", name + "=" + textOf(name, value));
}

bool isOfScanOnly(const std::string& name) {
    return name == "pages" || name == "ui" || name == "timeout";
}

// False when it is none of the source's settings.
bool readSetting(const std::string& name, const Json& value, host::ScanRequest& request) {
    if (name == "switches") {
        readSwitches(value, request);
        return true;
    }
    return name != "set" && host::setRequestValue(request, name, textOf(name, value));
}

bool readOfScan(const std::string& name, const Json& value, ScanOrder& order) {
    if (name != "progressMs") return host::setOutputValue(order.output, name, textOf(name, value));
    constexpr int longest = 60000;
    order.progressMs = host::parseWhole(name, textOf(name, value), 0, longest);
    return true;
}

// Runs a step whose Failure means that the params are wrong.
template <class Step>
void checked(Step step) {
    try {
        step();
    } catch (const Failure& failure) {
        refuse(failure.text);
    }
}

void makeRoom(const Json& params, host::ScanRequest& request) {
    const bool area = params.contains("area") || params.contains("size");
    if (area) request.paper.reset();
    if (params.contains("paper")) request.area.reset();
}

[[noreturn]] void refuseUnknown(const char* method, const std::string& name) {
    refuse(format("%s knows no \"%s\".", method, name.c_str()));
}

}  // namespace

host::ScanRequest readSettings(const Json& params, const host::ScanRequest& present) {
    host::ScanRequest request = present;
    makeRoom(params, request);
    checked([&] {
        for (const auto& [name, value] : params.items())
            if (isOfScanOnly(name) || !readSetting(name, value, request)) refuseUnknown("set", name);
        host::checkRequest(request);
    });
    return request;
}

ScanOrder readScan(const Json& params, const host::ScanRequest& present) {
    ScanOrder order;
    order.request = present;
    makeRoom(params, order.request);
    checked([&] {
        for (const auto& [name, value] : params.items())
            if (!readSetting(name, value, order.request) && !readOfScan(name, value, order))
                refuseUnknown("scan", name);
        host::checkRequest(order.request);
        if (order.output.pattern == "-")
            refuse("output is the name of a file: answers go to the standard output.");
        host::chooseDefaultOutput(order.output);
    });
    return order;
}

}  // namespace smworker
