// The texts in which each flow starts the services. Operators' scripts read the English ones: blanks and dots in them
// differ from flow to flow and stay, also where a closing text doesn't cover the last frame. The Chinese ones cover it.

#include "SetupBringUpMessages.h"
#include "SetupService.h"

constexpr SERVICETEXTS g_stMasterService = {
    nullptr,
    Say<MSG_STORAGE_FAILED_MASTER, int>,
    {{{"\r正在等待存储服务启动.... \\  ", "\rWaiting for storage service to start.... \\  "},
      {"\r正在等待存储服务启动.... |  ", "\rWaiting for storage service to start.... |  "},
      {"\r正在等待存储服务启动.... /  ", "\rWaiting for storage service to start.... /  "},
      {"\r正在等待存储服务启动....--  ", "\rWaiting for storage service to start....--  "}},
     {"\r正在等待存储服务启动......    \n", "\rWaiting for storage service to start......    \n"}},
    {{{"\r正在等待主服务启动.... \\  ", "\rWaiting for the main service to start.... \\  "},
      {"\r正在等待主服务启动....  |  ", "\rWaiting for the main service to start....  |  "},
      {"\r正在等待主服务启动.... /  ", "\rWaiting for the main service to start.... /  "},
      {"\r正在等待主服务启动....--  ", "\rWaiting for the main service to start....--  "}},
     {"\r正在等待主服务启动......   \n", "\rWaiting for the main service to start......   \n"}},
    {"\r启动服务成功！\n", "\rStart the service successfully! \n"},
};

constexpr SERVICETEXTS g_stSlaveService = {
    &MSG_SERVICE_BEGIN_SLAVE,
    Say<MSG_STORAGE_FAILED_SLAVE, int>,
    {{{"\r正在等待存储服务启动...... \\  ", "\rWaiting for storage service to start...... \\  "},
      {"\r正在等待存储服务启动......  |  ", "\rWaiting for storage service to start......  |  "},
      {"\r正在等待存储服务启动......  /  ", "\rWaiting for storage service to start......  /  "},
      {"\r正在等待存储服务启动......--  ", "\rWaiting for storage service to start......--  "}},
     {"\r正在等待存储服务启动......   \n", "\rWaiting for storage service to start......   \n"}},
    {{{"\r正在等待主服务启动......  \\  ", "\rWaiting for the main service to start......  \\  "},
      {"\r正在等待主服务启动......  |  ", "\rWaiting for the main service to start......  |  "},
      {"\r正在等待主服务启动...... /  ", "\rWaiting for the main service to start...... /  "},
      {"\r正在等待主服务启动......--  ", "\rWaiting for the main service to start......--  "}},
     {"\r正在等待主服务启动......     \n", "\rWaiting for the main service to start......  \n"}},
    {"\r启动服务成功！\n", "\rSuccessed to start service! \n"},
};

constexpr SERVICETEXTS g_stStandbyService = {
    &MSG_SERVICE_BEGIN_STANDBY,
    Say<MSG_STORAGE_FAILED_STANDBY, int>,
    {{{"\r正在等待存储服务启动..... \\  ", "\rWaiting for storage service to start..... \\  "},
      {"\r正在等待存储服务启动..... |  ", "\rWaiting for storage service to start..... |  "},
      {"\r正在等待存储服务启动..... /  ", "\rWaiting for storage service to start..... /  "},
      {"\r正在等待存储服务启动.....--  ", "\rWaiting for storage service to start.....--  "}},
     {"\r正在等待存储服务启动......   \n", "\rWaiting for storage service to start\n"}},
    {{{"\r正在等待主服务启动..... \\  ", "\rWaiting for the main service to start..... \\  "},
      {"\r正在等待主服务启动..... |  ", "\rWaiting for the main service to start..... |  "},
      {"\r正在等待主服务启动..... /  ", "\rWaiting for the main service to start..... /  "},
      {"\r正在等待主服务启动.....--  ", "\rWaiting for the main service to start.....--  "}},
     {"\r正在等待主服务启动......   \n", "\rWaiting for the main service to start......   \n"}},
    {"\r启动服务成功！\n", "\rSuccessful start service! \n"},
};
