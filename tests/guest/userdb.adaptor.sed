# bionic's 32-bit passwd record has no gecos and the adaptor hands out no password field: both
# stay null in the guest's record.
s/^\(getpwnam root: .*\) passwd=set gecos=set$/\1 passwd=null gecos=null/
