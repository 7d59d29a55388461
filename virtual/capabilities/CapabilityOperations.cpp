#include "capabilities/CapabilityOperations.h"

#include <algorithm>
#include <cmath>

#include "capabilities/CapabilityContainers.h"

namespace vscan {

namespace {

std::size_t indexOf(const std::vector<double>& list, double value) {
    const auto found = std::find(list.begin(), list.end(), value);
    return found == list.end() ? 0 : static_cast<std::size_t>(found - list.begin());
}

TW_UINT16 containerKind(CapabilityShape shape) {
    switch (shape) {
        case CapabilityShape::Enumeration:
            return TWON_ENUMERATION;
        case CapabilityShape::Range:
            return TWON_RANGE;
        case CapabilityShape::Array:
            return TWON_ARRAY;
        default:
            return TWON_ONEVALUE;
    }
}

// All that a capability offers, in the container that goes with it.
HGLOBAL offer(const ScanParameters& parameters, const Capability& capability) {
    const auto host = [&](double value) { return parameters.toHost(capability, value); };
    switch (capability.shape) {
        case CapabilityShape::Enumeration:
            return makeEnumeration(capability.itemType, capability.choices,
                                   indexOf(capability.choices, capability.current),
                                   indexOf(capability.choices, capability.standard));
        case CapabilityShape::Range:
            return makeRange(capability.itemType,
                             {host(capability.minimum), host(capability.maximum), host(capability.step),
                              host(capability.standard), host(capability.current)});
        case CapabilityShape::Array:
            return makeArray(capability.itemType, capability.choices);
        default:
            return makeOneValue(capability.itemType, host(capability.current));
    }
}

// Whether the host may change the capability now.
Outcome changeable(const ScanParameters& parameters, const Capability* capability) {
    if (!capability) return failure(TWCC_CAPUNSUPPORTED);
    if (!capability->settable) return failure(TWCC_CAPBADOPERATION);
    const bool ready = capability->needs == 0 || parameters.capabilities().flag(capability->needs);
    return ready ? success() : failure(TWCC_CAPSEQERROR);
}

}  // namespace

Outcome getCapability(const ScanParameters& parameters, TW_UINT16 message, TW_CAPABILITY& request,
                      OddContainers fault) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    if (!capability) return failure(TWCC_CAPUNSUPPORTED);
    if (message == MSG_GET || capability->shape == CapabilityShape::Array) {
        request.ConType = containerKind(capability->shape);
        request.hContainer = offer(parameters, *capability);
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
    if (!capability) return failure(TWCC_CAPUNSUPPORTED);
    constexpr int reads = TWQC_GET | TWQC_GETDEFAULT | TWQC_GETCURRENT;
    request.ConType = TWON_ONEVALUE;
    request.hContainer =
        makeOneValue(TWTY_INT32, capability->settable ? reads | TWQC_SET | TWQC_RESET : reads);
    return request.hContainer ? success() : failure(TWCC_LOWMEMORY);
}

Outcome setCapability(ScanParameters& parameters, const TW_CAPABILITY& request) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    const Outcome allowed = changeable(parameters, capability);
    if (allowed.returnCode != TWRC_SUCCESS) return allowed;
    if (request.ConType != TWON_ONEVALUE && request.ConType != containerKind(capability->shape))
        return failure(TWCC_BADVALUE);
    const auto proposed = readContainer(request, capability->itemType);
    if (!proposed) return failure(TWCC_BADVALUE);
    const auto sameBound = [&](double bound, double own) {
        constexpr double rounding = 0.001;  // of 16.16 fixed point numbers
        return std::fabs(bound - parameters.toHost(*capability, own)) < rounding;
    };
    // Ranges can't be narrowed: the value is taken, the bounds stay.
    const bool sameRange = !proposed->bounds || (sameBound(proposed->bounds->first, capability->minimum) &&
                                                 sameBound(proposed->bounds->second, capability->maximum));
    switch (parameters.set(*capability, proposed->value, proposed->items)) {
        case SetResult::Done:
            return sameRange ? success() : adjusted();
        case SetResult::Adjusted:
            return adjusted();
        default:
            return failure(TWCC_BADVALUE);
    }
}

Outcome resetCapability(ScanParameters& parameters, TW_CAPABILITY& request, OddContainers fault) {
    const Capability* capability = parameters.capabilities().offered(request.Cap);
    const Outcome allowed = changeable(parameters, capability);
    if (allowed.returnCode != TWRC_SUCCESS) return allowed;
    parameters.reset(*capability);
    return getCapability(parameters, MSG_GETCURRENT, request, fault);
}

}  // namespace vscan
