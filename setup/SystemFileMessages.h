#pragma once

#include "SetupMessage.h"

// What the creation of System.dbf and the look at the local addresses say. The full-width marks in the English texts
// are part of them.

inline constexpr MESSAGE MSG_ALLOC_FAILED{"内存分配失败，错误代码：%d！\n", "Failed to alloc, Error code: %d! \n"};

inline constexpr MESSAGE MSG_SYSTEM_FILE_EXISTS{"数据库服务系统文件已存在！文件路径：%s！\n",
                                                "The database service system file already exists! File path：%s！\n"};

inline constexpr MESSAGE MSG_SYSTEM_FILE_NOT_CREATED{
    "创建数据库服务系统文件失败！文件路径：%s，错误代码：%d！\n",
    "Failed to create database service system file! File path: %s, Error code: %d! \n"};

inline constexpr MESSAGE MSG_OBJECT_USED{
    "创建系统对象时，对应的对象已被使用，对象ID：%d\n",
    "When creating a system object, the corresponding object is used, and the object ID is：%d\n"};

inline constexpr MESSAGE MSG_OBJECT_HAS_BLOCKS{"创建系统对象时，新对象已经拥有数据块！\n",
                                               "When creating system objects, new objects already have blocks!\n"};

inline constexpr MESSAGE MSG_FREE_BLOCKS{
    "创建系统对象时，系统文件中存在空闲数据块！\n",
    "When you create a new system object, there are empty blocks in the system file！\n"};

inline constexpr MESSAGE MSG_FILE_FULL{
    "分配数据块时，发现剩余空间不足，文件大小：%lld，当前空闲位置：%lld，需要分配的空间大小：%d\n",
    "When allocating data blocks, it is found that the remaining space is insufficient, file size:%lld, current free "
    "location:%lld, and the space size to be allocated is:%d\n"};

inline constexpr MESSAGE MSG_ROOT_USER_FAILED{"添加ROOT用户失败，数据块空间不足！\n",
                                              "Failed to add ROOT users, insufficient space in the block!\n"};

inline constexpr MESSAGE MSG_FIRST_PRIVILEGE_FAILED{
    "创建系统对象时，添加权限失败，权限名称：Usage！\n",
    "When creating system object, adding permission failed, permission name：Usage！\n"};

inline constexpr MESSAGE MSG_PRIVILEGE_OBJECT_EMPTY{
    "添加权限时，发现权限对象为空，权限名称：%s\n",
    "When adding permissions, it is found that the permission object is empty, Permission name：%s\n"};

inline constexpr MESSAGE MSG_PRIVILEGE_NO_SPACE{
    "添加权限时，发现返回的数据块剩余空间不足，权限名称：%s\n",
    "When adding permissions, it is found that the remaining database space returned is insufficient, Permission "
    "name：%s\n"};

inline constexpr MESSAGE MSG_PRIVILEGE_EXCEPTION{
    "添加权限时发生未知异常，权限名称：%s，错误代码：%d\n",
    "An unknown exception occurs when permissions are added, Permission name：%s, Error code: %d\n"};

inline constexpr MESSAGE MSG_LOCAL_IP_LIST{"无法获取本机IP列表（%d）！\n", "Unable to get local IP list(%d)！\n"};
