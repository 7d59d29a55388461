// What a source has been set to: the changes that it accepted, by subject.
#pragma once

#include <map>
#include <string>

#include "recording/ContainerBytes.h"
#include "recording/Recording.h"

namespace vscan {

// A capability's number, or one of these.
constexpr std::uint32_t layoutSubject = 0x10000;
constexpr std::uint32_t responseSubject = 0x10001;

using AcceptedSettings = std::map<std::uint32_t, recording::Item>;

// Does the operation set something, or take it back?
bool changesSettings(const recording::Triplet& triplet);
// Enters an operation of that kind that the source accepted.
void enter(AcceptedSettings& settings, const recording::Triplet& triplet,
           const recording::Question& question);
std::uint32_t subjectOf(const recording::Triplet& triplet, const recording::Question& question);

// The value that a container proposes.
recording::Item proposedItem(const recording::Question& question);

// Whether pages can look otherwise with another value: not with those of counts, feeders and mechanisms.
bool affectsImage(std::uint32_t subject);

// "ICAP_XRESOLUTION 300", "the area 0,0,8.5,11"; null: what was in force before anything was set.
std::string settingText(std::uint32_t subject, const recording::Item* item);

}  // namespace vscan
