// Messages that the host composes and sends. A session without a connection has none to compose.
#include "qcapi.h"

int CQcApi::InitMessage(char* /*message_type*/)
{
    return QAPI_ERR_NOT_INITIALIZED_YET;
}

int CQcApi::SetFieldBSTR(char* /*message_type*/, char* /*field_name*/, char* /*new_value*/)
{
    return QAPI_ERR_NOT_INITIALIZED_YET;
}

int CQcApi::SetFieldDATE(char* /*message_type*/, char* /*field_name*/, char* /*new_value*/)
{
    return QAPI_ERR_NOT_INITIALIZED_YET;
}

int CQcApi::SetFieldLONG(char* /*message_type*/, char* /*field_name*/, long /*new_value*/)
{
    return QAPI_ERR_NOT_INITIALIZED_YET;
}

int CQcApi::SetFieldUINT(char* /*message_type*/, char* /*field_name*/, unsigned int /*new_value*/)
{
    return QAPI_ERR_NOT_INITIALIZED_YET;
}

int CQcApi::SendMessage(char* /*message_type*/)
{
    return QAPI_ERR_NOT_INITIALIZED_YET;
}

int CQcApi::SendMessageTo(char* /*address_data*/)
{
    return 0;
}

int CQcApi::LastAcknowledgedMessage(char* /*date*/, unsigned int /*message_num*/)
{
    return initialize_flag == QAPI_NOT_INITIALIZED ? QAPI_ERR_NOT_INITIALIZED_YET : 0;
}
