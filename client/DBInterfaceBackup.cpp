// Backup and recovery of the database, and the deletion of backups and of archive logs. What the arguments mean is the
// server's.

#include "DBInterfaceExchange.h"
#include "DBInterfaceOperation.h"

namespace {

constexpr OPERATIONROW OPERATION_BACKUP{
    .m_lpszFunction = "Backup",
    .m_nOperation = 49,
    .m_stException = {"数据库备份异常，错误码：%d", "Database backup abnormal, error code: %d"}};
constexpr OPERATIONROW OPERATION_RECOVER{
    .m_lpszFunction = "Recover",
    .m_nOperation = 55,
    .m_stException = {"数据库恢复异常，错误码：%d", "Database recovery abnormal, error code: %d"}};
constexpr OPERATIONROW OPERATION_DELETE_BACKUP{
    .m_lpszFunction = "DeleteBackup",
    .m_nOperation = 56,
    .m_stException = {"删除数据库备份时出现异常，错误码：%d",
                      "Database backup deleted when an exception occurred, error code: %d"}};
constexpr OPERATIONROW OPERATION_DELETE_ARCHIVE{
    .m_lpszFunction = "DeleteArchiveLog",
    .m_nOperation = 57,
    .m_stException = {"删除数据库归档日志时出现异常，错误码：%d",
                      "An exception occurred while deleting the database archive logs. Error code: %d"}};

} // namespace

int CDBInterface::BackupCore(KESTROCRITICALSECTION* pRecord, unsigned char bType, long long nParam,
                             KESTROPROGRESS lpfnProgress, void* pUser) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_BACKUP, nullptr, lpfnProgress, pUser);
    stExchange.m_stHead.m_bFlag = bType;
    stExchange.m_stHead.m_stBackup.m_nFirst = nParam;
    return Exchange(stExchange);
}

int CDBInterface::Backup(unsigned char bType, long long nParam, KESTROPROGRESS lpfnProgress, void* pUser) {
    return RunBusy<OPERATION_BACKUP>(
        [&](KESTROCRITICALSECTION* pRecord) { return BackupCore(pRecord, bType, nParam, lpfnProgress, pUser); });
}

int CDBInterface::RecoverCore(KESTROCRITICALSECTION* pRecord, long long nParam1, long long nParam2, int nParam3,
                              KESTROPROGRESS lpfnProgress, void* pUser) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_RECOVER, nullptr, lpfnProgress, pUser);
    BACKUPPARAM& stParam = stExchange.m_stHead.m_stBackup;
    stParam.m_nFirst = nParam1;
    stParam.m_nSecond = nParam2;
    stParam.m_nThird = nParam3;
    return Exchange(stExchange);
}

int CDBInterface::Recover(long long nParam1, long long nParam2, int nParam3, KESTROPROGRESS lpfnProgress, void* pUser) {
    return RunBusy<OPERATION_RECOVER>([&](KESTROCRITICALSECTION* pRecord) {
        return RecoverCore(pRecord, nParam1, nParam2, nParam3, lpfnProgress, pUser);
    });
}

int CDBInterface::DeleteBackupCore(KESTROCRITICALSECTION* pRecord, long long nBackupID) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_DELETE_BACKUP);
    stExchange.m_stHead.m_stBackup.m_nFirst = nBackupID;
    return Exchange(stExchange);
}

int CDBInterface::DeleteBackup(long long nBackupID) {
    return RunBusy<OPERATION_DELETE_BACKUP>(
        [&](KESTROCRITICALSECTION* pRecord) { return DeleteBackupCore(pRecord, nBackupID); });
}

// The one argument goes where a recovery has its third. Intended.
int CDBInterface::DeleteArchiveLogCore(KESTROCRITICALSECTION* pRecord, int nParam) {
    CKestroCriticalSectionPtr csLock(&m_csLock, pRecord);
    EXCHANGE stExchange(COMMAND_DELETE_ARCHIVE);
    stExchange.m_stHead.m_stBackup.m_nThird = nParam;
    return Exchange(stExchange);
}

int CDBInterface::DeleteArchiveLog(int nParam) {
    return RunBusy<OPERATION_DELETE_ARCHIVE>(
        [&](KESTROCRITICALSECTION* pRecord) { return DeleteArchiveLogCore(pRecord, nParam); });
}
