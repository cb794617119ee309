#include <corekit/exception.h>
#include <corekit/log.h>

namespace corekit {

Exception::Exception(String message, String detail, int code)
    : m_code(code),
      m_message(std::move(message)),
      m_detail(std::move(detail)),
      m_what(m_detail.Empty() ? m_message : m_message + " (" + m_detail + ")") {}

MissingProductException::MissingProductException(UID const& product)
    : Exception("There is no Product with the ID " + product.ToString() +
                    ". Ask an administrator to add the Product to this farm.",
                {}, k_MissingProduct),
      m_product(product) {}

void FaultSource::LogFault(Exception const& exception) { LogWarning(exception.what()); }

} // namespace corekit
