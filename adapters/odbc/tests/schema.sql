-- The throwaway database of the ODBC tests and benchmark.

-- One row per value kind the adapter converts, and a row of nulls.
CREATE TABLE value_kinds (
  id integer PRIMARY KEY,
  small_value smallint,
  long_value integer,
  big_value bigint,
  decimal_value numeric(12, 3),
  double_value double precision,
  text_value varchar(40),
  long_text text,
  day_value date,
  moment timestamp,
  time_value time,
  flag boolean
);
INSERT INTO value_kinds VALUES
  (1, -12, 70000, 5000000000, 1234.125, 0.5, 'città d''arte', NULL, '2024-02-29',
   '2024-02-29 13:45:59', '07:08:09', true),
  (2, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL),
  -- A text far longer than one piece read from the driver, with characters
  -- outside the basic plane so that pieces may end inside a surrogate pair.
  (3, 0, 0, 7, 0, 0, '', repeat('àb𝄞', 7000) || 'END', '1999-12-31', '1999-12-31 00:00:00',
   '00:00:00', false);

-- The rows of the benchmark: 10,000 rows of 4 columns.
CREATE TABLE bench_rows (
  id integer PRIMARY KEY,
  code varchar(20) NOT NULL,
  amount numeric(12, 2) NOT NULL,
  description varchar(60) NOT NULL
);
INSERT INTO bench_rows
  SELECT n, 'C' || lpad(n::text, 6, '0'), n * 1.25, 'Description of row ' || n
  FROM generate_series(1, 10000) AS n;

-- What the three proposal procedures answer, per company and provider.
CREATE TABLE proposal_answers (
  procedure_name varchar(40) NOT NULL,
  company integer NOT NULL,
  provider smallint NOT NULL,
  labels varchar(200),
  query varchar(2000),
  PRIMARY KEY (procedure_name, company, provider)
);

-- The lists the proposals' own SQL reads.
CREATE TABLE proposal_accounts (company integer, provider smallint, code varchar(12),
                                description varchar(60));
INSERT INTO proposal_accounts VALUES
  (1, 7, 'A100', 'Raw materials'), (1, 7, 'A200', 'Services'), (1, 8, 'B100', 'Freight'),
  (70000, 7, 'Z900', 'Wide company');

INSERT INTO proposal_answers VALUES
  ('accounts', 1, 7, 'Code|Description',
   'SELECT code, description FROM proposal_accounts WHERE company = 1 AND provider = 7 ORDER BY code'),
  ('accounts', 1, 8, 'Code',
   'SELECT code FROM proposal_accounts WHERE company = 1 AND provider = 8'),
  ('accounts', 70000, 7, 'Code|Description|',
   'SELECT code, description, '''' FROM proposal_accounts WHERE company = 70000'),
  ('ledger', 1, 7, 'Ledger account|Description',
   'SELECT code, description FROM proposal_accounts WHERE provider = 7 ORDER BY code DESC'),
  ('causals', 1, 7, '', 'SELECT 1'),
  -- No labels: the lookup cannot read them as text.
  ('accounts', 1, 9, NULL, 'SELECT 1');

-- The three proposal procedures, with the parameter names of the company
-- database: as functions with OUT parameters, which this database's driver
-- calls with the ODBC call escape, and in schema procs as PROCEDUREs, their
-- answers read by CALL from INOUT parameters declared in another order and
-- their captions starting "proc:". A company and provider without an answer
-- give Null outputs.
CREATE SCHEMA procs;
DO $do$ DECLARE r record; BEGIN
  FOR r IN VALUES ('conti', 'accounts'), ('coge', 'ledger'), ('causali', 'causals') LOOP
    EXECUTE format($f$CREATE FUNCTION spci_prop%s_lookupprovider("@DITTA" integer,
      "@PROVIDER" smallint, OUT "@LABELS" varchar, OUT "@QUERY" varchar) LANGUAGE sql STABLE
      AS $b$ SELECT labels, query FROM proposal_answers
      WHERE procedure_name = %L AND company = $1 AND provider = $2 $b$$f$, r.column1, r.column2);
    EXECUTE format($f$CREATE PROCEDURE procs.spci_prop%s_lookupprovider(INOUT "@QUERY" varchar,
      "@PROVIDER" smallint, INOUT "@LABELS" varchar, "@DITTA" integer) LANGUAGE sql AS $b$
      SELECT query, 'proc:' || labels FROM public.proposal_answers
      WHERE procedure_name = %L AND company = $4 AND provider = $2 $b$$f$, r.column1, r.column2);
  END LOOP;
END $do$;

-- A procedure of every parameter kind and direction, for the command tests.
-- Its names have no "@": the adapter matches "@LONG_IN" to long_in.
CREATE FUNCTION echo_kinds(small_in smallint, long_in integer, double_in double precision,
                           INOUT text_in varchar, day_in timestamp, flag_in boolean,
                           OUT text_out varchar, OUT long_out integer, OUT day_out timestamp,
                           OUT flag_out boolean, OUT double_out double precision)
  LANGUAGE sql STABLE AS $$
  SELECT text_in || '!', text_in || '/' || coalesce(small_in::text, 'null'), long_in + 1,
         day_in + interval '1 day', NOT flag_in, double_in * 2
$$;

-- Found first by a connection whose search path starts with faulty: a
-- function with a syntax error inside, a procedure that raises an error. In
-- empty, the name is neither a procedure nor a function.
CREATE SCHEMA faulty;
CREATE FUNCTION faulty.spci_propconti_lookupprovider("@DITTA" integer, "@PROVIDER" smallint,
                                                     OUT "@LABELS" varchar, OUT "@QUERY" varchar)
  LANGUAGE plpgsql AS $$ BEGIN EXECUTE 'SELEC 1'; END $$;
CREATE PROCEDURE faulty.spci_propcoge_lookupprovider("@DITTA" integer, "@PROVIDER" smallint,
                                                     INOUT "@LABELS" varchar, INOUT "@QUERY" varchar)
  LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION 'no proposals for provider %', "@PROVIDER"; END $$;
CREATE SCHEMA empty;
CREATE TABLE empty.spci_propcoge_lookupprovider (id integer);
