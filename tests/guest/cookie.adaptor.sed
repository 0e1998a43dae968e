# The host's seek slot is 32 bits wide: a position past 4 GiB is told by its low 32 bits.
s|^callback position 5368709220, ftello 5368709220$|callback position 5368709220, ftello 1073741924|
# A failed guest read reaches the host's refill as 0 bytes: the error flag and end of file.
s|^failing read: fgetc -1 feof 0 ferror 1$|failing read: fgetc -1 feof 1 ferror 1|
# A refill the guest read fills is read over by the adapter's top-up: the host's refill passes
# the stream's own buffer, so the stream starts one byte into the top-up (offset 1024).
s|^filling read: first bytes ab$|filling read: first bytes kl|
