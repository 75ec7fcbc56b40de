/* Names that system headers and hosts are known to take for macros. */
#define min(a, b) not a function
#define max(a, b) not a function
#define small not a name
#define check(x) not a function
#define interface not a name
#define near not a name
#define far not a name
#define ERROR not a name
#define DELETE not a name
#define IN not a name
#define OUT not a name
#define DEBUG not a name
#define NO_ERROR not a name
#define OPTIONAL not a name
#define Success not a name
#define Status not a name
#define None not a name
#define Bool not a name
#define Always not a name
#define signals not a name
#define slots not a name
#define emit not a name
#define foreach not a name
#define nil not a name
#define YES not a name
#define NO not a name
#define major(x) not a function
#define minor(x) not a function
#define unix not a name
#define linux not a name
#define I not a name
#define _ not a name
