#pragma once

#include <errno.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

// Takes from a process what programs of the system share with all others of the machine, as a container may: so no
// test touches the area and the semaphore of a running instance. Where filters are refused too, nothing happens.

/** Refuses the segment with the key given, and named semaphores, to this process and to those it becomes. */
inline void RefuseShare(unsigned nKey) {
    // A semaphore is first opened so, without O_CREAT; files that are made with O_NOFOLLOW are let through.
    constexpr unsigned SEMAPHORE_FLAG = O_NOFOLLOW;
    sock_filter arRules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_shmget, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, nKey, 4, 5),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_STMT(BPF_ALU | BPF_AND | BPF_K, O_NOFOLLOW | O_CREAT),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SEMAPHORE_FLAG, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog stProgram{sizeof(arRules) / sizeof(*arRules), arRules};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) (void)prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &stProgram);
}
