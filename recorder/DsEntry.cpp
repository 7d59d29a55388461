// A source in front of another one: any host can be recorded with it. The manager lists it under the other's
// name with "Rec " before it.
#include <cstring>
#include <optional>
#include <string>

#include "RealSource.h"
#include "RecorderSettings.h"
#include "record/CallRecorder.h"

#if defined(_MSC_VER)
#include <intrin.h>
#define RETURN_ADDRESS() _ReturnAddress()
#else
#define RETURN_ADDRESS() __builtin_return_address(0)
#endif

namespace {

HMODULE ownLibrary = nullptr;
constexpr char mark[] = "Rec ";
constexpr std::size_t markLength = sizeof mark - 1;

HMODULE moduleOf(const void* code, DWORD flags) {
    HMODULE found = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags, static_cast<const char*>(code),
                       &found);
    return found;
}

// Managers load and free a source several times; the recording and the real source stay.
class Recorder {
public:
    Recorder()
        : settings_(recorder::readSettings(moduleOf(&ownLibrary, GET_MODULE_HANDLE_EX_FLAG_PIN))),
          real_(settings_.source, [this](TW_UINT16 message) {
              if (calls_) calls_->notice(message);
          }) {}

    TW_UINT16 call(const void* caller, pTW_IDENTITY origin, const recording::Triplet& triplet,
                   TW_MEMREF data) {
        if (!real_.entry()) return withoutSource(triplet, data);
        constexpr recording::Triplet entryPoint{DG_CONTROL, 0x0403, MSG_SET};
        if (triplet == entryPoint) return real_.tellEntry(origin, data);
        const auto pass = [&] {
            return real_.entry()(origin, triplet.group, triplet.argumentType, triplet.message, data);
        };
        if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_GET)) {
            const TW_UINT16 result = pass();
            if (result != TWRC_SUCCESS) return result;
            auto& identity = *static_cast<TW_IDENTITY*>(data);
            std::memcpy(realName_, identity.ProductName, sizeof realName_);
            addMark(identity);
            return result;
        }
        const bool opens = triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS);
        if (opens) {
            real_.setManager(moduleOf(caller, GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT));
            if (!calls_) calls_.emplace(wide(settings_.output), settings_.pixels);
        }
        if (!calls_) return pass();
        // The real source is opened under its own name.
        auto* const identity = opens ? static_cast<TW_IDENTITY*>(data) : nullptr;
        if (identity) removeMark(*identity);
        const TW_UINT16 result = calls_->pass(triplet, data, pass);
        if (identity) addMark(*identity);
        return result;
    }

private:
    // It is listed all the same, so that whoever set it up sees what is wrong.
    TW_UINT16 withoutSource(const recording::Triplet& triplet, TW_MEMREF data) const {
        if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_GET)) {
            auto& identity = *static_cast<TW_IDENTITY*>(data);
            const TW_UINT32 id = identity.Id;
            identity = {};
            identity.Id = id;
            identity.ProtocolMajor = 1;
            identity.ProtocolMinor = 9;
            identity.SupportedGroups = DG_CONTROL | DG_IMAGE;
            std::strcpy(identity.Manufacturer, "VORN");
            std::strcpy(identity.ProductFamily, "Recorder");
            std::strcpy(identity.ProductName, "Rec (no Source in recorder.ini)");
            return TWRC_SUCCESS;
        }
        if (triplet.is(DG_CONTROL, DAT_STATUS, MSG_GET)) {
            *static_cast<TW_STATUS*>(data) = {TWCC_NODS, 0};
            return TWRC_SUCCESS;
        }
        return TWRC_FAILURE;
    }

    static void addMark(TW_IDENTITY& identity) {
        constexpr std::size_t room = sizeof identity.ProductName - 2;  // of 34 bytes, 32 count
        std::memmove(identity.ProductName + markLength, identity.ProductName, room - markLength);
        std::memcpy(identity.ProductName, mark, markLength);
        identity.ProductName[room] = '\0';
    }
    // The mark may have cost a long name its end.
    void removeMark(TW_IDENTITY& identity) const {
        if (std::strncmp(identity.ProductName, mark, markLength) == 0)
            std::memcpy(identity.ProductName, realName_, sizeof realName_);
    }

    static std::wstring wide(const std::string& ansi) {
        std::wstring text(ansi.size(), L'\0');
        text.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, ansi.data(),
                                                                 static_cast<int>(ansi.size()), text.data(),
                                                                 static_cast<int>(text.size()))));
        return text;
    }

    const recorder::RecorderSettings settings_;
    TW_STR32 realName_ = "";
    std::optional<record::CallRecorder> calls_;  // from the first opening on
    recorder::RealSource real_;
};

}  // namespace

extern "C" TW_UINT16 WINAPI DS_Entry(pTW_IDENTITY origin, TW_UINT32 group, TW_UINT16 argumentType,
                                     TW_UINT16 message, TW_MEMREF data) {
    try {
        // Never destroyed: the library stays to the process's end.
        static Recorder& recorder = *new Recorder;
        return recorder.call(RETURN_ADDRESS(), origin, {group, argumentType, message}, data);
    } catch (...) {
        return TWRC_FAILURE;
    }
}
