#include "record/OperationNames.h"

#include <scanmodule/twain_types.h>

#include <iterator>

#include "twain/CapabilityNames.h"

namespace record {

namespace {

struct Name {
    TW_UINT16 code;
    const char* text;
};

constexpr Name types[] = {{DAT_NULL, "DAT_NULL"},
                          {DAT_CAPABILITY, "DAT_CAPABILITY"},
                          {DAT_EVENT, "DAT_EVENT"},
                          {DAT_IDENTITY, "DAT_IDENTITY"},
                          {DAT_PENDINGXFERS, "DAT_PENDINGXFERS"},
                          {DAT_SETUPMEMXFER, "DAT_SETUPMEMXFER"},
                          {DAT_SETUPFILEXFER, "DAT_SETUPFILEXFER"},
                          {DAT_STATUS, "DAT_STATUS"},
                          {DAT_USERINTERFACE, "DAT_USERINTERFACE"},
                          {DAT_XFERGROUP, "DAT_XFERGROUP"},
                          {DAT_IMAGEINFO, "DAT_IMAGEINFO"},
                          {DAT_IMAGELAYOUT, "DAT_IMAGELAYOUT"},
                          {DAT_IMAGEMEMXFER, "DAT_IMAGEMEMXFER"},
                          {DAT_IMAGENATIVEXFER, "DAT_IMAGENATIVEXFER"},
                          {DAT_IMAGEFILEXFER, "DAT_IMAGEFILEXFER"},
                          {DAT_RGBRESPONSE, "DAT_RGBRESPONSE"},
                          {DAT_PALETTE8, "DAT_PALETTE8"}};

constexpr Name messages[] = {{MSG_GET, "MSG_GET"},
                             {MSG_GETCURRENT, "MSG_GETCURRENT"},
                             {MSG_GETDEFAULT, "MSG_GETDEFAULT"},
                             {MSG_SET, "MSG_SET"},
                             {MSG_RESET, "MSG_RESET"},
                             {MSG_QUERYSUPPORT, "MSG_QUERYSUPPORT"},
                             {MSG_OPENDS, "MSG_OPENDS"},
                             {MSG_CLOSEDS, "MSG_CLOSEDS"},
                             {MSG_DISABLEDS, "MSG_DISABLEDS"},
                             {MSG_ENABLEDS, "MSG_ENABLEDS"},
                             {MSG_PROCESSEVENT, "MSG_PROCESSEVENT"},
                             {MSG_ENDXFER, "MSG_ENDXFER"}};

template <std::size_t Count>
void append(std::string& text, const Name (&names)[Count], TW_UINT16 code) {
    for (const Name& name : names)
        if (name.code == code) text += std::string(" ") + name.text;
}

}  // namespace

std::string operationNames(const recording::Triplet& triplet, const recording::Bytes& data) {
    std::string text = triplet.group == DG_CONTROL ? "DG_CONTROL"
                       : triplet.group == DG_IMAGE ? "DG_IMAGE"
                                                   : "DG_";
    append(text, types, triplet.argumentType);
    append(text, messages, triplet.message);
    if (triplet.argumentType != DAT_CAPABILITY || data.size() < 2) return text;
    const int id = data[0] | data[1] << 8;
    for (const shared::NamedCapability& known : shared::namedCapabilities)
        if (known.id == id) text += std::string(" ") + known.name;
    return text;
}

}  // namespace record
