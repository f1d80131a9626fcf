#!/usr/bin/python3
# Python's pyodbc with FreeTDS against a running listener, with the driver's default settings.
#   pyodbc_client.py CASE PORT PASSWORD     exit 0 = passed, 77 = pyodbc or FreeTDS missing
import sys
import time

try:
    import pyodbc
except ImportError:
    print("pyodbc is not installed (scripts/setup installs python3-pyodbc)")
    sys.exit(77)

case, port, password = sys.argv[1], sys.argv[2], sys.argv[3]
if "FreeTDS" not in pyodbc.drivers():
    print("the FreeTDS ODBC driver is not installed")
    sys.exit(77)


def connect(autocommit=True):
    return pyodbc.connect(
        "DRIVER={FreeTDS};SERVER=127.0.0.1;PORT=%s;UID=sa;PWD=%s;DATABASE=Sales" % (port, password),
        autocommit=autocommit)


def expect(got, wanted, what):
    if got != wanted:
        raise AssertionError("%s: got %r, wanted %r" % (what, got, wanted))


def defaults():
    # autocommit off is pyodbc's default: a transaction from the first statement on
    c = pyodbc.connect("DRIVER={FreeTDS};SERVER=127.0.0.1;PORT=%s;UID=sa;PWD=%s;DATABASE=Sales" % (port, password))
    cur = c.cursor()
    expect(cur.execute("SELECT 1 + 1").fetchone()[0], 2, "a query")
    expect(cur.execute("SELECT @@TRANCOUNT").fetchone()[0], 1, "the transaction pyodbc opened")
    cur.execute("INSERT INTO Py (k, v) VALUES (1, N'kept')")
    c.commit()
    cur.execute("INSERT INTO Py (k, v) VALUES (2, N'dropped')")
    c.rollback()
    expect([tuple(r) for r in cur.execute("SELECT k, v FROM Py ORDER BY k").fetchall()], [(1, "kept")],
           "rows after commit and rollback")
    c.close()
    other = connect()
    expect(other.cursor().execute("SELECT COUNT(*) FROM Py").fetchone()[0], 1, "committed rows seen elsewhere")


def params():
    c = connect()
    cur = c.cursor()
    row = cur.execute("SELECT ?, ?, ?, ?, ?", 42, "tex't", 2.5, None, b"\x00\xff").fetchone()
    expect(tuple(row), (42, "tex't", 2.5, None, b"\x00\xff"), "values through parameters")
    expect(cur.execute("SELECT ? + 1", 2 ** 40).fetchone()[0], 2 ** 40 + 1, "a bigint")
    cur.execute("DELETE FROM Py")
    cur.executemany("INSERT INTO Py (k, v) VALUES (?, ?)", [(i, "row %d" % i) for i in range(20)])
    expect(cur.execute("SELECT COUNT(*), SUM(k) FROM Py WHERE v LIKE ?", "row%").fetchone()[0], 20,
           "rows of executemany")
    expect(cur.execute("SELECT v FROM Py WHERE k = ?", 7).fetchone()[0], "row 7", "a filtered query")
    import datetime
    import decimal
    # pyodbc sends a datetime without its fraction (column size 19) through FreeTDS
    when = datetime.datetime(2024, 2, 29, 13, 45, 10)
    row = cur.execute("SELECT ?, ?, ?", when, decimal.Decimal("-12345.6789"), "héllo €").fetchone()
    expect(row[0], when, "a datetime parameter")
    expect(decimal.Decimal(str(row[1])), decimal.Decimal("-12345.6789"), "a decimal parameter")
    expect(row[2], "héllo €", "a unicode parameter")
    expect(cur.execute("SELECT v FROM Py WHERE k = ?", 999).fetchone(), None, "no row")


def call():
    c = connect()
    cur = c.cursor()
    expect([r[0] for r in cur.execute("{CALL dbo.PyNames(?)}", 3).fetchall()], [0, 1, 2], "rows of {CALL}")
    expect([r[0] for r in cur.execute("EXEC dbo.PyNames @n = ?", 2).fetchall()], [0, 1], "EXEC with a parameter")


def catalogue():
    c = connect()
    cur = c.cursor()
    tables = [r.table_name for r in cur.tables(tableType="TABLE")]
    if "Py" not in tables:
        raise AssertionError("SQLTables lacks Py: %r" % tables)
    columns = [(r.column_name, r.type_name) for r in cur.columns(table="Py")]
    expect(columns, [("k", "int"), ("v", "nvarchar")], "SQLColumns of Py")
    procs = [r.procedure_name for r in cur.procedures()]
    if not any(p.startswith("PyNames") for p in procs):
        raise AssertionError("SQLProcedures lacks PyNames: %r" % procs)
    keys = [r.column_name for r in cur.primaryKeys("Py")]
    expect(keys, ["k"], "SQLPrimaryKeys of Py")
    params = [(r.column_name, r.column_type, r.type_name) for r in cur.procedureColumns(procedure="AddUp")]
    expect(params, [("@RETURN_VALUE", 5, "int"), ("@a", 1, "int"), ("@b", 1, "int"), ("@sum", 2, "int"),
                    ("@text", 2, "nvarchar")], "SQLProcedureColumns of AddUp")
    stats = [(r.index_name, r.column_name) for r in cur.statistics("Py") if r.index_name]
    expect(stats, [("PK_Py", "k")], "SQLStatistics of Py")
    types = [r.type_name for r in cur.getTypeInfo()]
    if "nvarchar" not in types or "int" not in types:
        raise AssertionError("SQLGetTypeInfo: %r" % types)
    expect([r.column_name for r in cur.rowIdColumns("Py")], ["k"], "SQLSpecialColumns of Py")


def cancel():
    c = connect()
    c.timeout = 1
    cur = c.cursor()
    started = time.monotonic()
    try:
        cur.execute("DECLARE @i int = 0; WHILE 1 = 1 SET @i = @i + 1")
        raise AssertionError("an endless loop ended")
    except pyodbc.Error as e:
        if "HYT00" not in str(e) and "timeout" not in str(e).lower():
            raise
    # The loop has no end: that it returned at all is the cancel's doing.
    print("time-out answered after %.3f s (the time-out is 1 s)" % (time.monotonic() - started))
    c.timeout = 0
    expect(cur.execute("SELECT 5").fetchone()[0], 5, "a query after the cancel")


cases = {"defaults": defaults, "params": params, "call": call, "catalogue": catalogue, "cancel": cancel}
cases[case]()
print("ok")
