#include "Tavik/Exception.h"

namespace Tavik {

Exception::Exception(const std::string& msg, int code) : _message(msg), _code(code)
{
}

Exception::Exception(const std::string& msg, const std::string& arg, int code)
	: _message(msg), _code(code)
{
	if (!arg.empty())
	{
		_message.append(": ");
		_message.append(arg);
	}
}

Exception::Exception(const std::string& msg, const Exception& nested, int code)
	: _message(msg), _pNested(nested.clone()), _code(code)
{
}

Exception::Exception(const Exception& other)
	: std::exception(other),
	  _message(other._message),
	  _pNested(other._pNested ? other._pNested->clone() : nullptr),
	  _code(other._code)
{
}

Exception& Exception::operator=(const Exception& other)
{
	if (this != &other)
	{
		_message = other._message;
		_pNested.reset(other._pNested ? other._pNested->clone() : nullptr);
		_code = other._code;
	}
	return *this;
}

Exception::~Exception() noexcept = default;

const char* Exception::name() const noexcept
{
	return "Exception";
}

const char* Exception::className() const noexcept
{
	return "Tavik::Exception";
}

Exception* Exception::clone() const
{
	return new Exception(*this);
}

void Exception::rethrow() const
{
	throw *this;
}

std::string Exception::displayText() const
{
	std::string text(name());
	if (!_message.empty())
	{
		text.append(": ");
		text.append(_message);
	}
	return text;
}

const char* Exception::what() const noexcept
{
	return _message.empty() ? name() : _message.c_str();
}

TAVIK_IMPLEMENT_EXCEPTION(LogicException, Exception, "Tavik::LogicException", "Logic exception")
TAVIK_IMPLEMENT_EXCEPTION(BugcheckException, LogicException, "Tavik::BugcheckException", "Bugcheck")
TAVIK_IMPLEMENT_EXCEPTION(NullPointerException, LogicException, "Tavik::NullPointerException", "Null pointer")
TAVIK_IMPLEMENT_EXCEPTION(InvalidArgumentException, LogicException, "Tavik::InvalidArgumentException", "Invalid argument")
TAVIK_IMPLEMENT_EXCEPTION(IllegalStateException, LogicException, "Tavik::IllegalStateException", "Illegal state")

TAVIK_IMPLEMENT_EXCEPTION(RuntimeException, Exception, "Tavik::RuntimeException", "Runtime exception")
TAVIK_IMPLEMENT_EXCEPTION(NotFoundException, RuntimeException, "Tavik::NotFoundException", "Not found")
TAVIK_IMPLEMENT_EXCEPTION(ExistsException, RuntimeException, "Tavik::ExistsException", "Exists")
TAVIK_IMPLEMENT_EXCEPTION(TimeoutException, RuntimeException, "Tavik::TimeoutException", "Timeout")
TAVIK_IMPLEMENT_EXCEPTION(SystemException, RuntimeException, "Tavik::SystemException", "System exception")
TAVIK_IMPLEMENT_EXCEPTION(NoThreadAvailableException, RuntimeException, "Tavik::NoThreadAvailableException", "No thread available")
TAVIK_IMPLEMENT_EXCEPTION(LimitExceededException, RuntimeException, "Tavik::LimitExceededException", "Limit exceeded")

TAVIK_IMPLEMENT_EXCEPTION(DataException, RuntimeException, "Tavik::DataException", "Data error")
TAVIK_IMPLEMENT_EXCEPTION(SyntaxException, DataException, "Tavik::SyntaxException", "Syntax error")
TAVIK_IMPLEMENT_EXCEPTION(DataFormatException, DataException, "Tavik::DataFormatException", "Bad data format")

TAVIK_IMPLEMENT_EXCEPTION(IOException, RuntimeException, "Tavik::IOException", "I/O error")

} // namespace Tavik
