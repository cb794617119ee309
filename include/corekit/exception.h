#pragma once

#include <corekit/string.h>
#include <corekit/uid.h>

#include <exception>

namespace corekit {

// What went wrong, in words a user can act on. The root of all exceptions that
// the system's own code throws; none crosses a thread, a message handler or an
// event handler. A value type, safe to copy.
class Exception : public std::exception {
public:
    enum : int {
        k_General = 0x20000000,
        k_File = 0x20000001,
        k_Net = 0x20000002,
        k_Parse = 0x20000003,
        k_Argument = 0x20000004,
        k_MissingProduct = 0x21000002
    };

    explicit Exception(String message, String detail = {}, int code = k_General);

    int Code() const noexcept { return m_code; }
    String const& Message() const noexcept { return m_message; }
    // The system's own reason, such as the text of errno; often empty.
    String const& Detail() const noexcept { return m_detail; }
    // Message and detail as one line.
    char const* what() const noexcept override { return m_what.c_str(); }

private:
    int m_code;
    String m_message;
    String m_detail;
    String m_what;
};

// A file or folder could not be read or written.
class FileException : public Exception {
public:
    explicit FileException(String message, String detail = {}, int systemError = 0)
        : Exception(std::move(message), std::move(detail), k_File), m_systemError(systemError) {}

    // The errno behind it, or 0.
    int SystemError() const noexcept { return m_systemError; }

private:
    int m_systemError;
};

class NetException : public Exception {
public:
    explicit NetException(String message, String detail = {})
        : Exception(std::move(message), std::move(detail), k_Net) {}
};

// Text or bytes from outside are not what they should be.
class ParseException : public Exception {
public:
    explicit ParseException(String message, String detail = {})
        : Exception(std::move(message), std::move(detail), k_Parse) {}
};

class ArgumentException : public Exception {
public:
    explicit ArgumentException(String message, String detail = {})
        : Exception(std::move(message), std::move(detail), k_Argument) {}
};

// A Job names a Product that is not known here.
class MissingProductException : public Exception {
public:
    explicit MissingProductException(UID const& product);

    UID const& Product() const noexcept { return m_product; }

private:
    UID m_product;
};

// Base of the things that meet faults of different weight: streams and files of
// options. A fault throws when its severity reaches the threshold; a lighter one
// is logged and the work goes on with what could be read. Belongs to the thread
// that uses the object.
class FaultSource {
public:
    enum Severity : int { k_Note = 1, k_Warning = 2, k_Error = 3, k_Serious = 4, k_Fatal = 5 };

    int ExceptionLevel() const noexcept { return m_exceptionLevel; }

protected:
    FaultSource() = default;
    FaultSource(FaultSource const&) = default;
    FaultSource& operator=(FaultSource const&) = default;
    ~FaultSource() = default;

    // Throws a copy of the exception or logs it as a warning.
    template <class E>
    void Raise(Severity severity, E const& exception) const {
        if (severity >= m_exceptionLevel)
            throw exception;
        LogFault(exception);
    }

private:
    friend class SetExceptionLevel;
    static void LogFault(Exception const& exception);

    int m_exceptionLevel = k_Error;
};

// Scope object: sets the threshold of a stream, and puts the former one back.
// Level 5 lets only what is beyond repair throw.
class SetExceptionLevel {
public:
    SetExceptionLevel(FaultSource& source, int level) noexcept : m_source(source), m_former(source.m_exceptionLevel) {
        source.m_exceptionLevel = level;
    }
    ~SetExceptionLevel() { m_source.m_exceptionLevel = m_former; }
    SetExceptionLevel(SetExceptionLevel const&) = delete;
    SetExceptionLevel& operator=(SetExceptionLevel const&) = delete;

private:
    FaultSource& m_source;
    int const m_former;
};

} // namespace corekit
