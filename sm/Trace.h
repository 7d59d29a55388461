// The diagnostic trace: one-line texts for an external viewer, a separate program that a developer runs
// beside the host. Without a viewer a trace point costs the test of one pointer.
#pragma once

#include <cstdint>

// The place in the source that a line names. As a default argument it is the caller's own place; a shared
// helper takes one from its caller and hands it down, so that the line names the method, not the helper.
struct TracePoint {
    const char* file;
    int line;

    static constexpr TracePoint here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
        return {file, line};
    }
};

enum class TraceLevel { Trace, Warning, Fatal };

namespace trace {

// Finds the viewer, maps its memory and creates the switch file "DEBUGSM.INI" when it is missing.
void setUp();
void shutDown();

// True when a viewer listens and the switch file wants this level; the switch is read anew at every call.
bool wants(TraceLevel level);

// One line, built in a buffer of the shared memory's size and cut there.
class Line {
public:
    Line(TraceLevel level, TracePoint at);
    Line& operator<<(const char* text);
    Line& operator<<(uint32_t number);
    void send();

private:
    static constexpr uint32_t capacity = 1024;
    TraceLevel level_;
    uint32_t length_ = 0;
    char text_[capacity];
};

template <class... Pieces>
void write(TraceLevel level, TracePoint at, const Pieces&... pieces) {
    if (!wants(level)) return;
    Line line{level, at};
    (line << ... << pieces);
    line.send();
}

}  // namespace trace

// Brackets a method: "Coming <name>" when made, "Leaving <name>" when it ends, however it ends.
class MethodTrace {
public:
    explicit MethodTrace(const char* method, TracePoint at = TracePoint::here()) : method_(method), at_(at) {
        trace::write(TraceLevel::Trace, at_, "Coming ", method_);
    }
    ~MethodTrace() {
        if (leaves_) trace::write(TraceLevel::Trace, at_, "Leaving ", method_);
    }
    MethodTrace(const MethodTrace&) = delete;
    MethodTrace& operator=(const MethodTrace&) = delete;

    const char* method() const { return method_; }

    // "<what> in <method>" at level Warning, and at level Trace.
    void warn(const char* what, TracePoint at = TracePoint::here()) const {
        trace::write(TraceLevel::Warning, at, what, " in ", method_);
    }
    void note(const char* what, TracePoint at = TracePoint::here()) const {
        trace::write(TraceLevel::Trace, at, what, " in ", method_);
    }

    // For the one path that must end without its Leaving line.
    void omitLeaving() { leaves_ = false; }

private:
    const char* method_;
    TracePoint at_;
    bool leaves_ = true;
};

// A whole literal, for texts that depart from "<what> in <method>".
inline void warnText(const char* text, TracePoint at = TracePoint::here()) {
    trace::write(TraceLevel::Warning, at, text);
}
inline void traceText(const char* text, TracePoint at = TracePoint::here()) {
    trace::write(TraceLevel::Trace, at, text);
}
