// The diagnostic trace: one-line texts for an external viewer, a separate program that a developer runs
// beside the host. Without a viewer a trace point costs the test of one pointer.
#pragma once

#include <cstddef>
#include <cstdint>

// The place in the source that a line names. As a default argument it is the caller's own place.
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

// The viewer's memory; null without a viewer that listens. Only for the test below.
extern char* view;

// A part of a line: a text, or a number.
struct Piece {
    const char* text;
    uint32_t number = 0;

    Piece(const char* given) : text(given) {}
    Piece(uint32_t given) : text(nullptr), number(given) {}
};

// Puts the line together and sends it, if the switch file wants this level; it is read anew for every line.
void writeLine(TraceLevel level, TracePoint at, const Piece* pieces, size_t count);
// "<what> in <method>"
void writeInMethod(TraceLevel level, TracePoint at, const char* what, const char* method);

template <class... Pieces>
void write(TraceLevel level, TracePoint at, const Pieces&... pieces) {
    if (view == nullptr) return;
    const Piece list[] = {pieces...};
    writeLine(level, at, list, sizeof...(pieces));
}

}  // namespace trace

// Brackets a method: "Coming <name>" when made, "Leaving <name>" when it ends, however it ends.
class MethodTrace {
public:
    explicit MethodTrace(const char* method, TracePoint at = TracePoint::here()) : method_(method), at_(at) {
        if (trace::view != nullptr) writeBracket("Coming ");
    }
    ~MethodTrace() {
        if (trace::view != nullptr && leaves_) writeBracket("Leaving ");
    }
    MethodTrace(const MethodTrace&) = delete;
    MethodTrace& operator=(const MethodTrace&) = delete;

    const char* method() const { return method_; }

    // "<what> in <method>" at level Warning, and at level Trace.
    void warn(const char* what, TracePoint at = TracePoint::here()) const {
        if (trace::view != nullptr) trace::writeInMethod(TraceLevel::Warning, at, what, method_);
    }
    void note(const char* what, TracePoint at = TracePoint::here()) const {
        if (trace::view != nullptr) trace::writeInMethod(TraceLevel::Trace, at, what, method_);
    }

    // For the one path that must end without its Leaving line.
    void omitLeaving() { leaves_ = false; }

private:
    void writeBracket(const char* word) const;

    const char* method_;
    TracePoint at_;
    bool leaves_ = true;
};

// Who calls a shared helper: the method that its lines name, and the place they show. Made by the call itself
// out of the method's trace (`checkReady(trace)`), so that the place is the line of that call; helpers hand
// it on as it is. A helper that takes the MethodTrace instead shows its own lines, in the method's name.
class Caller {
public:
    Caller(const MethodTrace& trace, TracePoint at = TracePoint::here()) : method_(trace.method()), at_(at) {}
    // For lines that name another method than their own.
    explicit Caller(const char* method, TracePoint at = TracePoint::here()) : method_(method), at_(at) {}

    const char* method() const { return method_; }
    TracePoint at() const { return at_; }

    void warn(const char* what) const {
        if (trace::view != nullptr) trace::writeInMethod(TraceLevel::Warning, at_, what, method_);
    }
    void note(const char* what) const {
        if (trace::view != nullptr) trace::writeInMethod(TraceLevel::Trace, at_, what, method_);
    }

private:
    const char* method_;
    TracePoint at_;
};

// A whole literal, for texts that depart from "<what> in <method>".
inline void warnText(const char* text, TracePoint at = TracePoint::here()) {
    trace::write(TraceLevel::Warning, at, text);
}
inline void traceText(const char* text, TracePoint at = TracePoint::here()) {
    trace::write(TraceLevel::Trace, at, text);
}
