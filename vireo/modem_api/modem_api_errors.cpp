// How the client manager reports what went wrong below it.

#include "platform/qmi_client.h"
#include "vireo/modem_api/modem_api.h"

namespace {

// A QMI error's result; what is not here is a failure.
struct ErrorRow {
  uint32_t error;
  ModemApiResult result;
};
constexpr ErrorRow kErrors[] = {
    {QMI_ERROR_NONE, MODEM_API_SUCCESS},
    {QMI_ERROR_NO_EFFECT, MODEM_API_SUCCESS},
    {QMI_ERROR_ABORTED, MODEM_API_ABORTED},
    {QMI_ERROR_MISSING_ARGUMENT, MODEM_API_INVALID_ARG},
    {QMI_ERROR_ARGUMENT_TOO_LONG, MODEM_API_INVALID_ARG},
    {QMI_ERROR_INVALID_ARGUMENT, MODEM_API_INVALID_ARG},
    {QMI_ERROR_INVALID_INDEX, MODEM_API_INVALID_ARG},
    {QMI_ERROR_NETWORK_UNSUPPORTED, MODEM_API_NOT_SUPPORTED},
    {QMI_ERROR_REQUESTED_NUMBER_UNSUPPORTED, MODEM_API_NOT_SUPPORTED},
    {QMI_ERROR_BUNDLING_NOT_SUPPORTED, MODEM_API_NOT_SUPPORTED},
    {QMI_ERROR_NOT_SUPPORTED, MODEM_API_NOT_SUPPORTED},
    {QMI_ERROR_DEVICE_NOT_READY, MODEM_API_INFO_UNAVAILABLE},
};

}  // namespace

extern "C" uint32_t modem_api_map_qmi_error_to_modem_api(int transport_error,
                                                         const qmi_standard_result* resp) {
  switch (transport_error) {
    case QMI_CLIENT_PORT_NOT_OPEN:
    case QMI_CLIENT_INTERNAL:
      return MODEM_API_TRANSPORT_ERROR;
    case QMI_CLIENT_TIMED_OUT:
      return MODEM_API_TIMEOUT;
    case QMI_CLIENT_OK:
    case QMI_CLIENT_SERVICE_GONE:
      break;
    default:
      return MODEM_API_FAILURE;
  }
  if (resp == nullptr) return MODEM_API_FAILURE;
  if (resp->result == 0) return MODEM_API_SUCCESS;
  if (resp->result != 1) return MODEM_API_FAILURE;
  for (const ErrorRow& row : kErrors) {
    if (row.error == resp->error) return row.result;
  }
  return MODEM_API_FAILURE;
}
