#include "smview/CapabilityFacts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "common/Text.h"
#include "twain/CapabilityItems.h"
#include "twain/CapabilityNames.h"

namespace smview {

using host::format;

namespace {

constexpr TW_UINT16 noType = 0xffff;
constexpr size_t mostItems = 200;  // that are worth reading in a table

struct TypeName {
    TW_UINT16 type;
    const char* name;
    size_t textBytes;  // of an item that holds a text
};
constexpr TypeName typeNames[] = {
    {TWTY_INT8, "INT8", 0},      {TWTY_INT16, "INT16", 0},   {TWTY_INT32, "INT32", 0},
    {TWTY_UINT8, "UINT8", 0},    {TWTY_UINT16, "UINT16", 0}, {TWTY_UINT32, "UINT32", 0},
    {TWTY_BOOL, "BOOL", 0},      {TWTY_FIX32, "FIX32", 0},   {TWTY_FRAME, "FRAME", 0},
    {TWTY_STR32, "STR32", 34},   {TWTY_STR64, "STR64", 66},  {TWTY_STR128, "STR128", 130},
    {TWTY_STR255, "STR255", 256}};

const TypeName* findType(TW_UINT16 type) {
    const auto found = std::find_if(std::begin(typeNames), std::end(typeNames),
                                    [&](const TypeName& each) { return each.type == type; });
    return found == std::end(typeNames) ? nullptr : found;
}

size_t sizeOf(TW_UINT16 type) {
    const TypeName* const known = findType(type);
    if (type == TWTY_FRAME) return sizeof(TW_FRAME);
    return known != nullptr && known->textBytes != 0 ? known->textBytes : shared::itemSize(type);
}

struct OperationName {
    TW_UINT32 bit;
    const char* name;
};
constexpr OperationName operationNames[] = {{TWQC_GET, "get"},
                                            {TWQC_SET, "set"},
                                            {TWQC_GETDEFAULT, "get default"},
                                            {TWQC_GETCURRENT, "get current"},
                                            {TWQC_RESET, "reset"}};

// The bytes of a container, copied and freed.
std::vector<uint8_t> takeContainer(HGLOBAL handle) {
    std::vector<uint8_t> bytes;
    if (handle == nullptr) return bytes;
    if (const auto* const start = static_cast<const uint8_t*>(GlobalLock(handle))) {
        bytes.assign(start, start + GlobalSize(handle));
        GlobalUnlock(handle);
    }
    GlobalFree(handle);
    return bytes;
}

// Reads what is there; nothing beyond the end.
class Reader {
public:
    explicit Reader(const std::vector<uint8_t>& bytes) : bytes_(bytes) {}

    template <class Value>
    std::optional<Value> at(size_t offset) const {
        Value value;
        if (bytes_.size() < offset || bytes_.size() - offset < sizeof value) return std::nullopt;
        std::memcpy(&value, bytes_.data() + offset, sizeof value);
        return value;
    }
    std::optional<std::string> item(TW_UINT16 type, size_t offset) const;

private:
    const std::vector<uint8_t>& bytes_;
};

std::string inches(const TW_FIX32& value) {
    return format("%g", shared::fromFix32(value));
}

std::optional<std::string> Reader::item(TW_UINT16 type, size_t offset) const {
    const size_t size = sizeOf(type);
    if (size == 0 || bytes_.size() < offset || bytes_.size() - offset < size) return std::nullopt;
    if (type == TWTY_FRAME) {
        const auto frame = at<TW_FRAME>(offset);
        return inches(frame->Left) + " " + inches(frame->Top) + " " + inches(frame->Right) + " " +
               inches(frame->Bottom);
    }
    const auto* const start = reinterpret_cast<const char*>(bytes_.data() + offset);
    if (findType(type)->textBytes != 0) return std::string(start, strnlen(start, size));
    const double number = shared::itemNumber(type, start);
    if (type == TWTY_BOOL) return std::string(number != 0 ? "on" : "off");
    return format(type == TWTY_FIX32 ? "%.6g" : "%.10g", number);
}

// Items of a list from an offset on; nothing if the block ends before they do.
std::optional<std::vector<std::string>> items(const Reader& reader, TW_UINT16 type, size_t offset,
                                              TW_UINT32 count) {
    std::vector<std::string> list;
    for (TW_UINT32 i = 0; i < count; ++i, offset += sizeOf(type)) {
        const std::optional<std::string> item = reader.item(type, offset);
        if (!item) return std::nullopt;
        if (i < mostItems) list.push_back(*item);
    }
    if (count > mostItems) list.push_back(format("... (%lu)", static_cast<unsigned long>(count)));
    return list;
}

// False if the container is not what its kind says.
bool readOneValue(const Reader& reader, CapabilityFacts& facts) {
    const std::optional<std::string> value = reader.item(facts.itemType, offsetof(TW_ONEVALUE, Item));
    if (value) facts.current = *value;
    return value.has_value();
}

bool readEnumeration(const Reader& reader, CapabilityFacts& facts) {
    const auto count = reader.at<TW_UINT32>(offsetof(TW_ENUMERATION, NumItems));
    const auto current = reader.at<TW_UINT32>(offsetof(TW_ENUMERATION, CurrentIndex));
    if (!count || !current || *current >= *count) return false;
    const size_t first = offsetof(TW_ENUMERATION, ItemList);
    const auto list = items(reader, facts.itemType, first, *count);
    if (!list) return false;
    facts.offered = host::joined(*list);
    facts.current = reader.item(facts.itemType, first + *current * sizeOf(facts.itemType)).value_or("");
    return true;
}

bool readArray(const Reader& reader, CapabilityFacts& facts) {
    const auto count = reader.at<TW_UINT32>(offsetof(TW_ARRAY, NumItems));
    const auto list =
        count ? items(reader, facts.itemType, offsetof(TW_ARRAY, ItemList), *count) : std::nullopt;
    if (!list) return false;
    facts.current = host::joined(*list);
    return true;
}

bool readRange(const Reader& reader, CapabilityFacts& facts) {
    const auto field = [&](size_t offset) { return reader.item(facts.itemType, offset).value_or("?"); };
    if (!reader.at<TW_RANGE>(0)) return false;
    facts.current = field(offsetof(TW_RANGE, CurrentValue));
    facts.offered = field(offsetof(TW_RANGE, MinValue)) + " to " + field(offsetof(TW_RANGE, MaxValue)) +
                    " step " + field(offsetof(TW_RANGE, StepSize)) + " (" +
                    field(offsetof(TW_RANGE, DefaultValue)) + ")";
    return true;
}

struct ContainerKind {
    TW_UINT16 kind;
    const char* name;
    bool (*read)(const Reader& reader, CapabilityFacts& facts);
};
constexpr ContainerKind containerKinds[] = {{TWON_ONEVALUE, "one value", readOneValue},
                                            {TWON_ENUMERATION, "enumeration", readEnumeration},
                                            {TWON_RANGE, "range", readRange},
                                            {TWON_ARRAY, "array", readArray}};

void readContainer(const TW_CAPABILITY& answer, const std::vector<uint8_t>& bytes, CapabilityFacts& facts) {
    const Reader reader(bytes);
    const auto kind = std::find_if(std::begin(containerKinds), std::end(containerKinds),
                                   [&](const ContainerKind& each) { return each.kind == answer.ConType; });
    if (kind == std::end(containerKinds)) {
        facts.problem =
            format("answers with a container of kind %u, which the standard doesn't know", answer.ConType);
        return;
    }
    facts.container = kind->name;
    facts.itemType = reader.at<TW_UINT16>(0).value_or(noType);
    const TypeName* const type = findType(facts.itemType);
    facts.type = type != nullptr ? type->name : format("type %u", facts.itemType);
    if (type == nullptr || !kind->read(reader, facts))
        facts.problem = format("answers with %s of %s that can't be read", kind->name, facts.type.c_str());
}

std::string supportedOperations(host::Negotiate negotiate, TW_UINT16 id) {
    TW_CAPABILITY question = {id, TWON_ONEVALUE, nullptr};
    if (negotiate(MSG_QUERYSUPPORT, &question) != TWRC_SUCCESS) return "";
    const std::vector<uint8_t> bytes = takeContainer(question.hContainer);
    const auto bits = Reader(bytes).at<TW_UINT32>(offsetof(TW_ONEVALUE, Item));
    std::vector<std::string> names;
    for (const OperationName& operation : operationNames)
        if (bits && (*bits & operation.bit) != 0) names.push_back(operation.name);
    return host::joined(names);
}

std::optional<double> numberIn(const std::string& text) {
    if (text == "on") return 1;
    if (text == "off") return 0;
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(number)) return std::nullopt;
    return number;
}

// Whether an item of that type can be that number; what lies behind the point of a whole one is cut.
bool holds(TW_UINT16 type, double number) {
    const double bits = 8.0 * static_cast<double>(shared::itemSize(type));
    const bool isSigned = type == TWTY_INT8 || type == TWTY_INT16 || type == TWTY_INT32;
    if (type == TWTY_FIX32) return number >= -32768 && number < 32768;
    if (isSigned) return number >= -std::exp2(bits - 1) && number < std::exp2(bits - 1);
    return number >= 0 && number < std::exp2(bits);
}

// The item's bytes; nothing if the text is no value of that type.
std::optional<std::vector<uint8_t>> itemFor(TW_UINT16 type, const std::string& text) {
    const TypeName* const known = findType(type);
    if (known == nullptr || type == TWTY_FRAME) return std::nullopt;
    if (known->textBytes != 0) {
        if (text.size() >= known->textBytes) return std::nullopt;
        std::vector<uint8_t> bytes(text.begin(), text.end());
        bytes.resize(known->textBytes);
        return bytes;
    }
    const std::optional<double> number = numberIn(text);
    constexpr double fix32Scale = 65536;
    if (!number || !holds(type, *number)) return std::nullopt;
    const auto value = static_cast<uint32_t>(
        static_cast<int64_t>(type == TWTY_FIX32 ? std::floor(*number * fix32Scale + 0.5) : *number));
    std::vector<uint8_t> bytes(sizeof(TW_UINT32));
    // The standard's order of a FIX32: the whole part, then the fraction.
    const uint32_t item = type == TWTY_FIX32 ? value << 16 | value >> 16 : value;
    std::memcpy(bytes.data(), &item, sizeof item);
    return bytes;
}

ChangeResult changeResult(int returnCode) {
    if (returnCode == TWRC_SUCCESS) return {true, ""};
    if (returnCode == TWRC_CHECKSTATUS) return {true, "The source made something else of it."};
    return {false, format("The source refuses it (return code %d).", returnCode)};
}

}  // namespace

std::vector<TW_UINT16> offeredCapabilities(host::Negotiate negotiate) {
    std::vector<TW_UINT16> ids;
    TW_CAPABILITY question = {CAP_SUPPORTEDCAPS, TWON_ARRAY, nullptr};
    if (negotiate(MSG_GET, &question) == TWRC_SUCCESS) {
        const std::vector<uint8_t> bytes = takeContainer(question.hContainer);
        const Reader reader(bytes);
        const TW_UINT32 count = reader.at<TW_UINT32>(offsetof(TW_ARRAY, NumItems)).value_or(0);
        for (TW_UINT32 i = 0; i < count; ++i) {
            const auto id = reader.at<TW_UINT16>(offsetof(TW_ARRAY, ItemList) + i * sizeof(TW_UINT16));
            if (!id) break;
            ids.push_back(*id);
        }
    }
    if (ids.empty())
        for (const shared::NamedCapability& each : shared::namedCapabilities)
            ids.push_back(each.id);
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

CapabilityFacts describeCapability(host::Negotiate negotiate, TW_UINT16 id) {
    CapabilityFacts facts;
    facts.id = id;
    facts.itemType = noType;
    facts.name = format("0x%04X", id);
    for (const shared::NamedCapability& each : shared::namedCapabilities)
        if (each.id == id) facts.name = each.name;
    facts.operations = supportedOperations(negotiate, id);
    TW_CAPABILITY question = {id, TWON_DONTCARE16, nullptr};
    if (negotiate(MSG_GET, &question) != TWRC_SUCCESS)
        facts.problem = "the source doesn't answer";
    else
        readContainer(question, takeContainer(question.hContainer), facts);
    return facts;
}

ChangeResult setCapability(host::Negotiate negotiate, const CapabilityFacts& facts, const std::string& text) {
    const std::optional<std::vector<uint8_t>> item = itemFor(facts.itemType, text);
    if (!item) return {false, format("\"%s\" is no value of type %s.", text.c_str(), facts.type.c_str())};
    const size_t head = offsetof(TW_ONEVALUE, Item);
    TW_CAPABILITY request = {facts.id, TWON_ONEVALUE, GlobalAlloc(GHND, head + item->size())};
    auto* const bytes = static_cast<uint8_t*>(GlobalLock(request.hContainer));
    if (bytes == nullptr) return {false, "There is not enough memory."};
    std::memcpy(bytes, &facts.itemType, sizeof facts.itemType);
    std::memcpy(bytes + head, item->data(), item->size());
    GlobalUnlock(request.hContainer);
    const int code = negotiate(MSG_SET, &request);
    GlobalFree(request.hContainer);
    return changeResult(code);
}

ChangeResult resetCapability(host::Negotiate negotiate, TW_UINT16 id) {
    TW_CAPABILITY request = {id, TWON_DONTCARE16, nullptr};
    const int code = negotiate(MSG_RESET, &request);
    takeContainer(request.hContainer);
    return changeResult(code);
}

}  // namespace smview
