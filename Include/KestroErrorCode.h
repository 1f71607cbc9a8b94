#pragma once

/**
 * Names for the codes that the client raises or tests itself; every operation answers one of them, one that the server
 * sent, or an `errno`. The catalogue holds all codes with their texts (`GetErrorText`).
 */
enum KESTROERRORCODE : int {
    // A reply only, without a row in the catalogue: this node can't serve, the client is to try the next one.
    ERR_NODE_LEFT = -5,

    // General.
    ERR_OK = 0,                  // success
    ERR_FAILED = 1,              // failed, with no more to say
    ERR_EXCEPTION = 2,           // an exception ended the operation
    ERR_MEMORY = 3,              // memory could not be had; the compiler tries again in a larger buffer
    ERR_NULL_POINTER = 4,        // a null pointer, cursor or current row
    ERR_NO_SPACE = 11,           // no space left in the file
    ERR_MEMORY_SIZE = 17,        // a size of memory beyond the limit
    ERR_OBJECT_ID = 20,          // an object's entry in the object table isn't as expected
    ERR_PARAMETER = 25,          // a parameter that is incorrect or invalid
    ERR_OUT_OF_BOUNDS = 33,      // an index or data out of bounds
    ERR_INTERNAL_DATA = 37,      // data of the server that contradict themselves
    ERR_DATE_DATA = 49,          // a part of a date or time out of range
    ERR_PROTOCOL = 66,           // the peer speaks another protocol
    ERR_SYNCHRONIZING = 72,      // the cluster's data are being synchronised
    ERR_FILE_NOT_EXIST = 75,     // the file does not exist
    ERR_FILE_OPEN = 76,          // the file could not be opened
    ERR_IMPORT_FILE = 83,        // not a file that can be imported
    ERR_CHARSET_CONVERT = 86,    // text could not be converted to another character set
    ERR_DECIMAL_PRECISION = 91,  // more digits than a decimal holds
    ERR_NOT_DEVELOPED = 99,      // a function that isn't there yet
    ERR_FILE_EXISTS = 101,       // a data file of that name is there already
    ERR_FIELD_NOT_EXIST = 304,   // no such field
    ERR_INDEX_FIELD_TYPE = 318,  // a field of this type can't be indexed
    ERR_INDEX_SYSTEM_FILE = 319, // an index can't lie in a system file or data file
    ERR_INDEX_FILE_TYPE = 320,   // an index can't lie in a file of this type
    ERR_DECIMAL_LOAD = 363,      // text or bytes that are no decimal

    // Compiling: all statements.
    ERR_START_CHARACTER = 500,    // a statement begins with an unlawful character
    ERR_INVALID_CHARACTER = 501,  // an invalid character behind the verb
    ERR_INVALID_COMMAND = 502,    // no command that the compiler knows
    ERR_EMPTY_COMMAND = 503,      // there is no command
    ERR_SYNTAX_CREATE = 504,      // syntax error in CREATE
    ERR_SYNTAX_SELECT = 505,      // syntax error in SELECT
    ERR_SYNTAX_INSERT = 506,      // syntax error in INSERT
    ERR_SYNTAX_UPDATE = 507,      // syntax error in UPDATE
    ERR_SYNTAX_DELETE = 508,      // syntax error in DELETE
    ERR_SYNTAX_ALTER = 509,       // syntax error in ALTER
    ERR_EXPECT_TABLE_NAME = 510,  // a table name was expected
    ERR_EXPECT_NUMBER = 512,      // a number was expected
    ERR_EXPECT_STRING = 513,      // a string was expected
    ERR_EXPECT_OPERATOR = 514,    // an operator was expected
    ERR_EXPECT_EXPRESSION = 515,  // an expression was expected
    ERR_TYPE_COMPATIBILITY = 516, // a value can't be converted to the type wanted
    ERR_EXPECT_FUNCTION = 517,    // a function was expected, or its call is malformed
    ERR_PLAN_SIZE = 530,          // the sizes of the execution plan don't agree
    ERR_SYNTAX_JSON_MODIFY = 533, // syntax error in JSON_INSERT, JSON_REPLACE or JSON_SET
    ERR_SYNTAX_JSON_PATH = 536,   // syntax error in a JSON path
    ERR_EMPTY_STRING = 537,       // the statement is an empty string
    ERR_DUPLICATE_ALIAS = 538,    // a table alias twice in one query
    ERR_PASSWORD_FORMAT = 541,    // a malformed password
    ERR_COLUMN_TYPE = 546,        // a wrong column type

    // Compiling: queries, conditions, expressions.
    ERR_SELECT_NO_TABLE = 551,        // SELECT without a table name
    ERR_SELECT_TABLE_NAME = 553,      // SELECT with an incorrect table name
    ERR_SELECT_CONDITION = 558,       // an incorrect query condition
    ERR_SELECT_CONNECT = 560,         // an incorrect CONNECT BY condition
    ERR_SELECT_SEQUENCE = 562,        // an incorrect sequence reference
    ERR_SELECT_PAGING = 563,          // an incorrect PAGING clause
    ERR_FOR_UPDATE = 567,             // FOR UPDATE where it may not stand
    ERR_INSERT_NULL_POINTER = 592,    // INSERT: a record that should be there is missing
    ERR_LOGIC_STACK = 609,            // operands missing or left over on the logic stack
    ERR_EXPRESSION_QUEUE_EMPTY = 610, // an expression without a word
    ERR_EXPRESSION_STACK = 612,       // operands missing or left over on the expression stack
    ERR_JOIN_EXPRESSION = 613,        // an invalid expression in a join condition

    // Compiling: the other statements.
    ERR_SYNTAX_DROP = 800,           // syntax error in a deleting statement: DROP
    ERR_KEYWORD_DROP = 801,          // keyword missing in a deleting statement: DROP
    ERR_CREATE_NO_WITH = 804,        // CREATE lacks WITH
    ERR_CREATE_NO_BY = 805,          // CREATE lacks BY
    ERR_CREATE_NO_PARENTHESIS = 806, // CREATE lacks a parenthesis
    ERR_CREATE_NO_COLUMN = 807,      // CREATE names a column that isn't there
    ERR_CREATE_INDEX_TWICE = 809,    // CREATE names an index twice
    ERR_CREATE_HB_TREE_TYPES = 811,  // an HB tree's primary key and parent field have different types
    ERR_KEYWORD_TRUNCATE = 812,      // keyword missing in TRUNCATE
    ERR_SYNTAX_TRUNCATE = 813,       // syntax error in TRUNCATE
    ERR_SYNTAX_BEGIN = 814,          // syntax error in a statement that starts a transaction
    ERR_SYNTAX_COMMIT = 815,         // syntax error in COMMIT
    ERR_SYNTAX_ROLLBACK = 816,       // syntax error in ROLLBACK
    ERR_SYNTAX_RENAME = 817,         // syntax error in RENAME
    ERR_KEYWORD_ALTER = 821,         // keyword missing in an updating statement: ALTER
    ERR_KEYWORD_SET = 825,           // keyword missing in SET
    ERR_SYNTAX_GRANT = 826,          // syntax error in GRANT
    ERR_SYNTAX_REVOKE = 827,         // syntax error in REVOKE
    ERR_SYNTAX_USE = 835,            // syntax error in USE
    ERR_SYNTAX_FIX = 841,            // syntax error in ANALYZE, which FIX answers

    // Connection, data files.
    ERR_LINK_NOT_OPEN = 900,    // not logged in
    ERR_SOCKET_CREATE = 901,    // no socket could be made
    ERR_CONNECT = 902,          // the server could not be reached
    ERR_SEND = 903,             // data could not be sent whole
    ERR_RECEIVE_TIMEOUT = 904,  // no data in time
    ERR_LINK_RESET = 905,       // the peer reset the link
    ERR_RECEIVE = 906,          // the link was closed or failed while receiving
    ERR_RECEIVED_DATA = 907,    // a reply cut short, or one that breaks the protocol
    ERR_TOKEN = 908,            // the reply answers another request
    ERR_DESCRIPTOR_FILE = 909,  // the connect descriptors could not be read
    ERR_SERVER_NOT_FOUND = 910, // no connect descriptor of that name
    ERR_DATA_FILE_SPACE = 1000, // no space for another block or record in the data file

    // Values, expressions, fields.
    ERR_DATA_TRUNCATED = 1041,  // a member that isn't in the column's ENUM or SET
    ERR_DATA = 1500,            // invalid data
    ERR_DATA_TYPE = 1501,       // a type that doesn't fit here
    ERR_FUNCTION_TYPE = 1502,   // no function that can be computed here
    ERR_OPERATOR = 1503,        // no such operator here
    ERR_DATE_FORMAT = 1504,     // a text or picture that is no date or time
    ERR_STRING_LENGTH = 1511,   // a string length out of range
    ERR_OBJECT_NUMBER = 1516,   // more objects than can be numbered
    ERR_FIELD = 1521,           // a field that can't be changed this way
    ERR_FIELD_NUMBER = 1524,    // a field number out of range
    ERR_PARAMETER_TYPES = 1530, // parameters of types that don't go together
    ERR_EXPRESSION = 1533,      // an invalid expression
    ERR_NESTED_QUERY = 1541,    // queries nested too deep, or too many of them

    // Cluster, recordset, import and export, JSON.
    ERR_NOT_MASTER = 5003,          // only the cluster's master can do it
    ERR_GROUP_RECOVERED = 5016,     // the cluster is back, and wants the call once more
    ERR_IMPORT_IN_CLUSTER = 5017,   // no import into a cluster
    ERR_NODE_NOT_EXIST = 5021,      // no such node in the cluster
    ERR_VIP_SWITCH = 5031,          // the connections of the virtual address could not be moved
    ERR_TRANSACTION_LOST = 5107,    // no such transaction any more
    ERR_FIELD_READ_ONLY = 8051,     // the field may not be changed
    ERR_RECORDSET_READ_ONLY = 8052, // the recordset may not be changed
    ERR_USER_CANCELED = 8102,       // the user canceled an import or export
    ERR_JSON_TEXT = 8519,           // invalid JSON text
};
