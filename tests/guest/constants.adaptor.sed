# bionic's values, which the adaptor must answer where musl's differ.
s/^sysconf(_SC_THREAD_STACK_MIN) = 2048$/sysconf(_SC_THREAD_STACK_MIN) = 8192/
s/^sysconf(_SC_MQ_PRIO_MAX) = 32768$/sysconf(_SC_MQ_PRIO_MAX) = 32/
s/^sysconf(_SC_DELAYTIMER_MAX) = 2147483647$/sysconf(_SC_DELAYTIMER_MAX) = 32/
s/^sysconf(_SC_SEM_VALUE_MAX) = 2147483647$/sysconf(_SC_SEM_VALUE_MAX) = 1073741823/
s/^sysconf(_SC_SYMLOOP_MAX) = 40$/sysconf(_SC_SYMLOOP_MAX) = 8/
