#include "capabilities/CapabilityOperations.h"

#include <algorithm>

#include "capabilities/CapabilityContainers.h"

namespace vscan {

namespace {

std::size_t indexOf(const std::vector<double>& list, double value) {
    const auto found = std::find(list.begin(), list.end(), value);
    return found == list.end() ? 0 : static_cast<std::size_t>(found - list.begin());
}

// All that a capability offers, in the container that goes with it.
HGLOBAL offer(const ScanParameters& parameters, const Capability& capability, TW_UINT16& containerKind) {
    const auto host = [&](double value) { return parameters.toHost(capability, value); };
    switch (capability.shape) {
        case CapabilityShape::Enumeration:
            containerKind = TWON_ENUMERATION;
            return makeEnumeration(capability.itemType, capability.choices,
                                   indexOf(capability.choices, capability.current),
                                   indexOf(capability.choices, capability.standard));
        case CapabilityShape::Range:
            containerKind = TWON_RANGE;
            return makeRange(capability.itemType,
                             {host(capability.minimum), host(capability.maximum), host(capability.step),
                              host(capability.standard), host(capability.current)});
        case CapabilityShape::Array:
            containerKind = TWON_ARRAY;
            return makeArray(capability.itemType, capability.choices);
        default:
            containerKind = TWON_ONEVALUE;
            return makeOneValue(capability.itemType, host(capability.current));
    }
}

}  // namespace

Outcome getCapability(const ScanParameters& parameters, TW_UINT16 message, TW_CAPABILITY& request,
                      OddContainers fault) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    if (!capability) return failure(TWCC_BADCAP);
    if (message == MSG_GET || capability->shape == CapabilityShape::Array) {
        request.hContainer = offer(parameters, *capability, request.ConType);
    } else {
        const double value = message == MSG_GETDEFAULT ? capability->standard : capability->current;
        request.ConType = TWON_ONEVALUE;
        request.hContainer = makeOneValue(capability->itemType, parameters.toHost(*capability, value));
    }
    if (!request.hContainer) return failure(TWCC_LOWMEMORY);
    if (fault != OddContainers::None) spoilContainer(request, fault);
    return success();
}

Outcome queryCapability(const ScanParameters& parameters, TW_CAPABILITY& request) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    if (!capability) return failure(TWCC_BADCAP);
    constexpr int reads = TWQC_GET | TWQC_GETDEFAULT | TWQC_GETCURRENT;
    request.ConType = TWON_ONEVALUE;
    request.hContainer =
        makeOneValue(TWTY_INT32, capability->settable ? reads | TWQC_SET | TWQC_RESET : reads);
    return request.hContainer ? success() : failure(TWCC_LOWMEMORY);
}

Outcome setCapability(ScanParameters& parameters, const TW_CAPABILITY& request) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    if (!capability) return failure(TWCC_BADCAP);
    if (!capability->settable) return failure(TWCC_CAPBADOPERATION);
    const auto proposed = readContainer(request, capability->itemType);
    if (!proposed) return failure(TWCC_BADVALUE);
    const bool restricts = capability->shape == CapabilityShape::Enumeration;
    switch (
        parameters.set(*capability, proposed->value, restricts ? proposed->items : std::vector<double>())) {
        case SetResult::Done:
            return success();
        case SetResult::Adjusted:
            return adjusted();
        default:
            return failure(TWCC_BADVALUE);
    }
}

Outcome resetCapability(ScanParameters& parameters, TW_CAPABILITY& request, OddContainers fault) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    if (!capability) return failure(TWCC_BADCAP);
    if (!capability->settable) return failure(TWCC_CAPBADOPERATION);
    parameters.reset(*capability);
    return getCapability(parameters, MSG_GETCURRENT, request, fault);
}

}  // namespace vscan
