// Node's tedious and mssql against a running listener.
//   node node_client.js CASE PORT PASSWORD     exit 0 = passed, 77 = node's packages can't be had
// The packages go to a cache folder (TARMO_NODE_CACHE, else ~/.cache/tarmo-node) on first use.
'use strict';
const path = require('path');
const os = require('os');
const fs = require('fs');
const { execFileSync } = require('child_process');

const [, , testCase, port, password] = process.argv;
const cache = process.env.TARMO_NODE_CACHE || path.join(os.homedir(), '.cache', 'tarmo-node');

// A failed install is remembered for an hour, so that the other cases skip at once instead of
// waiting for the registry again.
const failedMarker = path.join(cache, 'install-failed');

function load(name) {
  const where = path.join(cache, 'node_modules', name);
  if (!fs.existsSync(where)) {
    try {
      if (fs.existsSync(failedMarker) && Date.now() - fs.statSync(failedMarker).mtimeMs < 3600000) {
        console.log(`npm couldn't install ${name} a short while ago: ${fs.readFileSync(failedMarker, 'utf8')}`);
        process.exit(77);
      }
      fs.mkdirSync(cache, { recursive: true });
      execFileSync('npm', ['install', '--prefix', cache, '--no-audit', '--no-fund', 'tedious@18', 'mssql@11'],
                   { stdio: 'pipe', timeout: 90000 });
    } catch (e) {
      const why = String(e.stderr || e.message).slice(-400);
      try { fs.writeFileSync(failedMarker, why); } catch (ignored) { /* the next case tries again */ }
      console.log(`npm can't install ${name}: ${why}`);
      process.exit(77);
    }
  }
  return require(where);
}

function check(got, wanted, what) {
  const g = JSON.stringify(got), w = JSON.stringify(wanted);
  if (g !== w) throw new Error(`${what}: got ${g}, wanted ${w}`);
}

// tedious's default is to encrypt.
const encrypt = true;
const tediousConfig = (encryption) => ({
  server: '127.0.0.1',
  authentication: { type: 'default', options: { userName: 'sa', password } },
  options: {
    port: Number(port), database: 'Sales', encrypt: encryption, trustServerCertificate: true,
    // Strict encryption checks the certificate whatever else is said: the one the server made.
    cryptoCredentialsDetails: process.env.TARMO_SERVER_CERT ? { ca: fs.readFileSync(process.env.TARMO_SERVER_CERT) } : {},
  },
});

function connect(tedious, encryption = encrypt) {
  return new Promise((resolve, reject) => {
    const c = new tedious.Connection(tediousConfig(encryption));
    c.on('error', reject);
    c.connect((err) => (err ? reject(err) : resolve(c)));
  });
}

function run(c, request) {
  return new Promise((resolve, reject) => {
    const rows = [];
    const out = {};
    request.on('row', (cols) => rows.push(cols.map((x) => x.value)));
    request.on('returnValue', (name, value) => { out[name] = value; });
    request.callback = (err) => (err ? reject(err) : resolve({ rows, out }));
    if (request.sqlTextOrProcedure && request.parametersByName && request.isProcedure) c.callProcedure(request);
    else c.execSql(request);
  });
}

function sql(tedious, c, text, params) {
  return new Promise((resolve, reject) => {
    const rows = [];
    const r = new tedious.Request(text, (err) => (err ? reject(err) : resolve(rows)));
    r.on('row', (cols) => rows.push(cols.map((x) => x.value)));
    for (const [name, type, value] of params || []) r.addParameter(name, tedious.TYPES[type], value);
    c.execSql(r);
  });
}

function tx(c, verb) {
  return new Promise((resolve, reject) => c[verb]((err) => (err ? reject(err) : resolve())));
}

const cases = {
  async tediousParams() {
    const tedious = load('tedious');
    const c = await connect(tedious);
    const rows = await sql(tedious, c, 'SELECT @i + 1, @s, @f, @n, @b, @d', [
      ['i', 'Int', 41], ['s', 'NVarChar', "it's"], ['f', 'Float', 2.5], ['n', 'Int', null],
      ['b', 'VarBinary', Buffer.from([0, 255])], ['d', 'DateTime', new Date(Date.UTC(2024, 1, 29, 13, 45, 10, 250))],
    ]);
    check(rows[0].slice(0, 4), [42, "it's", 2.5, null], 'values through parameters');
    check(Buffer.from(rows[0][4]).toString('hex'), '00ff', 'a binary parameter');
    await sql(tedious, c, 'DELETE FROM Js');
    for (let i = 0; i < 5; ++i)
      await sql(tedious, c, 'INSERT INTO Js (k, v) VALUES (@k, @v)', [['k', 'Int', i], ['v', 'NVarChar', `n${i}`]]);
    check(await sql(tedious, c, 'SELECT COUNT(*) FROM Js WHERE v LIKE @p', [['p', 'NVarChar', 'n%']]), [[5]], 'rows inserted');
    c.close();
  },
  async tediousProcedure() {
    const tedious = load('tedious');
    const c = await connect(tedious);
    const result = await new Promise((resolve, reject) => {
      const out = {};
      let status;
      const r = new tedious.Request('dbo.AddUp', (err) => (err ? reject(err) : resolve({ out, status })));
      r.addParameter('a', tedious.TYPES.Int, 5);
      r.addOutputParameter('sum', tedious.TYPES.Int);
      r.addOutputParameter('text', tedious.TYPES.NVarChar, null, { length: 20 });
      r.on('returnValue', (name, value) => { out[name] = value; });
      r.on('doneProc', (rowCount, more, returnStatus) => { if (returnStatus !== undefined) status = returnStatus; });
      c.callProcedure(r);
    });
    check(result.out, { sum: 15, text: 'sum 15' }, 'OUTPUT parameters');
    check(result.status, 7, 'the return status');
    c.close();
  },
  async tediousTransaction() {
    const tedious = load('tedious');
    const c = await connect(tedious);
    await sql(tedious, c, 'DELETE FROM Js');
    await tx(c, 'beginTransaction');
    await sql(tedious, c, "INSERT INTO Js VALUES (1, N'kept')");
    await tx(c, 'commitTransaction');
    await tx(c, 'beginTransaction');
    await sql(tedious, c, "INSERT INTO Js VALUES (2, N'dropped')");
    check(await sql(tedious, c, 'SELECT @@TRANCOUNT'), [[1]], 'inside the transaction');
    await tx(c, 'rollbackTransaction');
    check(await sql(tedious, c, 'SELECT k FROM Js ORDER BY k'), [[1]], 'rows after commit and rollback');
    check(await sql(tedious, c, 'SELECT @@TRANCOUNT'), [[0]], 'after the rollback');
    c.close();
  },
  async tediousStrict() {
    // TDS 8: TLS from the first byte on.
    const tedious = load('tedious');
    const c = await connect(tedious, 'strict');
    check(await sql(tedious, c, 'SELECT @a * 3', [['a', 'Int', 14]]), [[42]], 'a query over strict encryption');
    c.close();
  },
  async tediousUnencrypted() {
    const tedious = load('tedious');
    const c = await connect(tedious, false);
    check(await sql(tedious, c, 'SELECT @a * 3', [['a', 'Int', 14]]), [[42]], 'a query in the clear');
    c.close();
  },
  async tediousCancel() {
    // A batch without end, cancelled once its first row is there: the cancel is answered, the
    // connection goes on.
    const tedious = load('tedious');
    const c = await connect(tedious);
    let cancelledAt = 0;
    const error = await new Promise((resolve) => {
      const r = new tedious.Request(
        // Rows enough to fill packets, so that the first one reaches the client before the loop.
        "SELECT TOP 50 REPLICATE(N'x', 1000) AS started FROM sysobjects a, sysobjects b " +
          'DECLARE @i int = 0 WHILE 1 = 1 SET @i = @i + 1',
        (err) => resolve(err));
      r.on('row', () => { if (!cancelledAt) { cancelledAt = Date.now(); c.cancel(); } });
      c.execSql(r);
    });
    console.log(`cancel answered after ${Date.now() - cancelledAt} ms`);
    check(Boolean(error && /cancel/i.test(error.message)), true, 'the request ends as cancelled');
    check(await sql(tedious, c, 'SELECT 5'), [[5]], 'a query after the cancel');
    c.close();
  },
  async mssql() {
    const mssql = load('mssql');
    const pool = await new mssql.ConnectionPool({
      server: '127.0.0.1', port: Number(port), user: 'sa', password, database: 'Sales',
      options: { encrypt, trustServerCertificate: true },
    }).connect();
    const r = await pool.request().input('x', mssql.Int, 20).input('s', mssql.NVarChar(10), 'ab').query('SELECT @x * 2 AS twice, @s AS s');
    check(r.recordset[0], { twice: 40, s: 'ab' }, 'a parameterized query');
    const p = await pool.request().input('a', mssql.Int, 1).input('b', mssql.Int, 2)
      .output('sum', mssql.Int).output('text', mssql.NVarChar(20)).execute('AddUp');
    check([p.output.sum, p.output.text, p.returnValue], [3, 'sum 3', 7], 'a procedure with OUTPUT');
    const t = new mssql.Transaction(pool);
    await t.begin();
    await new mssql.Request(t).query('DELETE FROM Js');
    await t.rollback();
    check((await pool.request().query('SELECT COUNT(*) AS n FROM Js')).recordset[0].n > 0, true, 'a rolled back delete');
    await pool.close();
  },
};

cases[testCase]().then(() => { console.log('ok'); process.exit(0); },
                       (e) => { console.log(e && e.stack ? e.stack : String(e)); process.exit(1); });
