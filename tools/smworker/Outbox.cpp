#include "smworker/Outbox.h"

#include <utility>

namespace smworker {

namespace {

constexpr size_t mostBytes = 16 << 20;

}  // namespace

Outbox::Outbox(gui::Handle pipe, void (*broken)())
    : pipe_(std::move(pipe)),
      broken_(broken),
      filled_(CreateEventA(nullptr, FALSE, FALSE, nullptr)),
      empty_(CreateEventA(nullptr, TRUE, TRUE, nullptr)) {
    gui::owned(CreateThread(nullptr, 0, run, this, 0, nullptr));
}

void Outbox::send(std::string line) {
    bool tooMuch = false;
    {
        const gui::CriticalSection::Hold hold(lock_);
        if (givenUp_) return;
        bytes_ += line.size() + 1;
        lines_.push_back(std::move(line) + "\n");
        tooMuch = bytes_ > mostBytes;
        idle_ = false;
        ResetEvent(empty_.get());
        SetEvent(filled_.get());
    }
    if (tooMuch) giveUp();
}

void Outbox::sendIfRead(std::string line) {
    {
        const gui::CriticalSection::Hold hold(lock_);
        if (!idle_) return;
    }
    send(std::move(line));
}

void Outbox::giveUp() {
    {
        const gui::CriticalSection::Hold hold(lock_);
        if (givenUp_) return;
        givenUp_ = true;
        lines_.clear();
        SetEvent(empty_.get());
    }
    broken_();
}

DWORD WINAPI Outbox::run(void* self) {
    auto& outbox = *static_cast<Outbox*>(self);
    while (true) {
        const std::string line = outbox.take();
        if (line.empty())
            WaitForSingleObject(outbox.filled_.get(), INFINITE);
        else if (!outbox.write(line))
            break;
    }
    outbox.giveUp();
    return 0;
}

// The next line to write; empty when there is none at present.
std::string Outbox::take() {
    const gui::CriticalSection::Hold hold(lock_);
    idle_ = lines_.empty();
    if (idle_) {
        SetEvent(empty_.get());
        return "";
    }
    std::string line = std::move(lines_.front());
    lines_.pop_front();
    bytes_ -= line.size();
    return line;
}

bool Outbox::write(const std::string& line) const {
    for (size_t done = 0; done < line.size();) {
        DWORD written = 0;
        if (!WriteFile(pipe_.get(), line.data() + done, static_cast<DWORD>(line.size() - done), &written,
                       nullptr) ||
            written == 0)
            return false;
        done += written;
    }
    return true;
}

}  // namespace smworker
