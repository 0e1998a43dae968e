# GLOB_PERIOD has no counterpart in bionic's glob: the adaptor refuses it with GLOB_NOSYS.
/^PERIOD: /,/^  end /c\
PERIOD: *hidden -> NOSYS
# bionic stops at a directory it cannot read when the callback asks or GLOB_ERR is set, as POSIX says; musl 1.2.3 goes on.
/^errfunc stops: /,/^  pathc /c\
errfunc stops: bad/loop/* -> ABORTED
/^ERR: /,/^  pathc /c\
ERR: bad/loop/* -> ABORTED
/^ERR with errfunc: /,/^  pathc /c\
ERR with errfunc: bad/loop/* -> ABORTED
