#ifndef Tavik_Exception_INCLUDED
#define Tavik_Exception_INCLUDED

#include <exception>
#include <memory>
#include <string>

namespace Tavik {

/// Base of every exception thrown by the Tavik libraries.
///
/// An exception has a fixed English message, an optional argument and a code.
/// message() is the message alone, or "message: argument" when an argument was
/// given; displayText() prefixes it with the class's descriptive name().
class Exception : public std::exception
{
public:
	/// The message msg and the code.
	explicit Exception(const std::string& msg, int code = 0);
	/// The message "msg: arg", or msg alone when arg is empty.
	Exception(const std::string& msg, const std::string& arg, int code = 0);
	/// The message msg, holding a copy of nested as the cause.
	Exception(const std::string& msg, const Exception& nested, int code = 0);
	/// Copies message, code and a copy of the nested exception.
	///@{
	Exception(const Exception& other);
	Exception& operator=(const Exception& other);
	///@}
	~Exception() noexcept override;

	/// A short description of the kind of failure, e.g. "Not found".
	virtual const char* name() const noexcept;
	/// The C++ class name, e.g. "Tavik::NotFoundException".
	virtual const char* className() const noexcept;
	/// A copy of the same dynamic type, owned by the caller.
	virtual Exception* clone() const;
	/// Throws a copy of the same dynamic type.
	[[noreturn]] virtual void rethrow() const;

	/// The message with its argument, if any ("message: argument").
	const std::string& message() const noexcept { return _message; }
	/// The code given at construction; 0 by default.
	int code() const noexcept { return _code; }
	/// name(), and ": message" when the message is not empty.
	std::string displayText() const;
	/// The exception this one was raised for, or null.
	const Exception* nested() const noexcept { return _pNested.get(); }

	/// The message, or name() when the message is empty.
	const char* what() const noexcept override;

protected:
	/// For subclasses that build the message in steps.
	void setMessage(const std::string& msg) { _message = msg; }

private:
	std::string _message;
	std::unique_ptr<Exception> _pNested;
	int _code;
};

} // namespace Tavik

/// Declares an exception class CLS derived from BASE, exported with API.
/// Use TAVIK_IMPLEMENT_EXCEPTION in one source file to define it.
#define TAVIK_DECLARE_EXCEPTION(CLS, BASE)                                   \
	class CLS : public BASE                                                  \
	{                                                                        \
	public:                                                                  \
		explicit CLS(const std::string& msg = std::string(), int code = 0);  \
		CLS(const std::string& msg, const std::string& arg, int code = 0);   \
		CLS(const std::string& msg, const Tavik::Exception& nested,         \
		    int code = 0);                                                   \
		const char* name() const noexcept override;                          \
		const char* className() const noexcept override;                     \
		Tavik::Exception* clone() const override;                            \
		[[noreturn]] void rethrow() const override;                          \
	};

/// Defines the members declared by TAVIK_DECLARE_EXCEPTION. CLS must be the
/// qualified or in-scope class name, QNAME its fully qualified name as text
/// and NAME its descriptive name.
#define TAVIK_IMPLEMENT_EXCEPTION(CLS, BASE, QNAME, NAME)                     \
	CLS::CLS(const std::string& msg, int code) : BASE(msg, code) {}           \
	CLS::CLS(const std::string& msg, const std::string& arg, int code)        \
		: BASE(msg, arg, code) {}                                             \
	CLS::CLS(const std::string& msg, const Tavik::Exception& nested,         \
	         int code)                                                        \
		: BASE(msg, nested, code) {}                                          \
	const char* CLS::name() const noexcept { return NAME; }                   \
	const char* CLS::className() const noexcept { return QNAME; }             \
	Tavik::Exception* CLS::clone() const { return new CLS(*this); }           \
	void CLS::rethrow() const { throw *this; }

namespace Tavik {

TAVIK_DECLARE_EXCEPTION(LogicException, Exception)
TAVIK_DECLARE_EXCEPTION(BugcheckException, LogicException)
TAVIK_DECLARE_EXCEPTION(NullPointerException, LogicException)
TAVIK_DECLARE_EXCEPTION(InvalidArgumentException, LogicException)
TAVIK_DECLARE_EXCEPTION(IllegalStateException, LogicException)

TAVIK_DECLARE_EXCEPTION(RuntimeException, Exception)
TAVIK_DECLARE_EXCEPTION(NotFoundException, RuntimeException)
TAVIK_DECLARE_EXCEPTION(ExistsException, RuntimeException)
TAVIK_DECLARE_EXCEPTION(TimeoutException, RuntimeException)
TAVIK_DECLARE_EXCEPTION(SystemException, RuntimeException)
TAVIK_DECLARE_EXCEPTION(NoThreadAvailableException, RuntimeException)
TAVIK_DECLARE_EXCEPTION(LimitExceededException, RuntimeException)

TAVIK_DECLARE_EXCEPTION(DataException, RuntimeException)
TAVIK_DECLARE_EXCEPTION(SyntaxException, DataException)
TAVIK_DECLARE_EXCEPTION(DataFormatException, DataException)

TAVIK_DECLARE_EXCEPTION(IOException, RuntimeException)

} // namespace Tavik

#endif // Tavik_Exception_INCLUDED
