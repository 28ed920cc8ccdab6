/* The host interface of the module: the functions a host program (the one
   that owns the connection to the chassis) calls after loading it. Plain C,
   so that a host in any language can use it. */
#ifndef ZK_CORE_HOST_INTERFACE_H
#define ZK_CORE_HOST_INTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* The table a host hands to InitProtocols. The host fills the first three
   words; InitProtocols fills the module's functions. */
typedef struct ZkProtocolHostTable {
    unsigned int version; /* in: the value ProtocolTCLAPIVersion returns (0) */
    void (*log)(void* context, const char* message); /* in: the host log */
    void* logContext;                                 /* in: passed back to log */

    /* out: the module's functions. Results are the module's codes: 0 done,
       1 refused (the reason in the module's last-error text), 100 no such
       port or it is not available, 104 the protocol is not licensed there. */
    int (*apiVersion)(void);
    int (*sendCommand)(int chasID, int cardID, int portID, int command);
    int (*enableStatistics)(int chasID, int cardID, int portID, const char* protocol, int enable);
} ZkProtocolHostTable;

/* 0 when the table was taken; 1 with the last-error text "invalid version
   passed to InitProtocols" or "invalid pointer passed to InitProtocols". A
   later call replaces the host of an earlier one. */
int InitProtocols(ZkProtocolHostTable* table);

/* The version of this interface the module speaks. */
int ProtocolTCLAPIVersion(void);

#ifdef __cplusplus
}
#endif

#endif
