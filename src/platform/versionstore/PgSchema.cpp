// The tables and functions of a store on a PostgreSQL server. The tables belong to the role that made
// the store and nobody else may touch them: the store's users, each a login role of its own, may only
// call the functions marked SECURITY DEFINER, which name the user by session_user (what the server
// authenticated, not what the client says) and check his rights and the items' state in the same
// transaction as the change. Helpers without SECURITY DEFINER are the owner's alone.
#include "PgSchema.h"

namespace {

const char* const tables = R"SQL(
CREATE SCHEMA tarmo;
SET LOCAL search_path = tarmo, pg_temp;
CREATE TABLE users(
    name text NOT NULL,
    role text NOT NULL UNIQUE,
    admin boolean NOT NULL DEFAULT false);
CREATE UNIQUE INDEX users_name ON users(lower(name));
CREATE TABLE items(
    id bigserial PRIMARY KEY,
    parent bigint REFERENCES items(id),
    name text NOT NULL,
    type int NOT NULL,
    deleted boolean NOT NULL DEFAULT false,
    deleted_at bigint NOT NULL DEFAULT 0);
CREATE UNIQUE INDEX items_living ON items(parent, lower(name)) WHERE NOT deleted;
CREATE INDEX items_parent ON items(parent, deleted);
CREATE TABLE history(
    seq bigserial PRIMARY KEY,
    item bigint NOT NULL REFERENCES items(id),
    number int NOT NULL,
    is_label boolean NOT NULL DEFAULT false,
    "user" text NOT NULL,
    action text NOT NULL,
    date bigint NOT NULL,
    comment text NOT NULL DEFAULT '',
    label_comment text NOT NULL DEFAULT '',
    content bytea,
    checksum bytea);
CREATE UNIQUE INDEX history_numbers ON history(item, number) WHERE NOT is_label;
CREATE INDEX history_item ON history(item, seq);
CREATE TABLE checkouts(
    seq bigserial,
    item bigint NOT NULL REFERENCES items(id),
    "user" text NOT NULL,
    date bigint NOT NULL,
    local text NOT NULL DEFAULT '',
    comment text NOT NULL DEFAULT '',
    PRIMARY KEY(item, "user"));
CREATE TABLE options(
    name text PRIMARY KEY,
    value text NOT NULL);
CREATE TABLE rights(
    item bigint NOT NULL REFERENCES items(id),
    "user" text NOT NULL,
    rights int NOT NULL,
    PRIMARY KEY(item, "user"));
INSERT INTO items(id, parent, name, type) VALUES (1, NULL, '$', 0);
SELECT setval('items_id_seq', 1);
)SQL";

// The owner's helpers. Error numbers travel in the detail as "tarmo:NUMBER" (StoreErrors.h, in hex).
const char* const helpers = R"SQL(
CREATE FUNCTION fail(p_code text, p_text text) RETURNS void LANGUAGE plpgsql AS $f$
BEGIN
    RAISE EXCEPTION USING MESSAGE = p_text, DETAIL = 'tarmo:' || p_code;
END $f$;

CREATE FUNCTION now_ms() RETURNS bigint LANGUAGE sql AS $f$
    SELECT (extract(epoch FROM clock_timestamp()) * 1000)::bigint $f$;

-- Every change waits for the one before it, as a writer of the embedded store does.
CREATE FUNCTION write_lock() RETURNS void LANGUAGE sql AS $f$
    SELECT pg_advisory_xact_lock(80045) $f$;

CREATE FUNCTION me() RETURNS users LANGUAGE plpgsql STABLE AS $f$
DECLARE
    v users;
BEGIN
    SELECT * INTO v FROM users WHERE role = session_user::text;
    IF NOT FOUND THEN
        PERFORM fail('8004D6B0', format('The login %s is not a user of this store.', session_user));
    END IF;
    RETURN v;
END $f$;

CREATE FUNCTION type_of(p_id bigint) RETURNS int LANGUAGE sql STABLE AS $f$
    SELECT coalesce((SELECT type FROM items WHERE id = p_id), 1) $f$;
CREATE FUNCTION parent_of(p_id bigint) RETURNS bigint LANGUAGE sql STABLE AS $f$
    SELECT coalesce((SELECT parent FROM items WHERE id = p_id), 1) $f$;
CREATE FUNCTION is_deleted(p_id bigint) RETURNS boolean LANGUAGE sql STABLE AS $f$
    SELECT coalesce((SELECT deleted FROM items WHERE id = p_id), false) $f$;
CREATE FUNCTION head_number(p_id bigint) RETURNS int LANGUAGE sql STABLE AS $f$
    SELECT coalesce((SELECT max(number) FROM history WHERE item = p_id), 0) $f$;
CREATE FUNCTION head_seq(p_id bigint) RETURNS bigint LANGUAGE sql STABLE AS $f$
    SELECT seq FROM history WHERE item = p_id AND NOT is_label ORDER BY number DESC LIMIT 1 $f$;
CREATE FUNCTION head_content(p_id bigint) RETURNS bytea LANGUAGE sql STABLE AS $f$
    SELECT coalesce((SELECT content FROM history WHERE seq = head_seq(p_id)), ''::bytea) $f$;

CREATE FUNCTION spec_of(p_id bigint) RETURNS text LANGUAGE sql STABLE AS $f$
    WITH RECURSIVE up(id, parent, name, depth) AS (
        SELECT id, parent, name, 0 FROM items WHERE id = p_id
        UNION ALL SELECT i.id, i.parent, i.name, up.depth + 1 FROM items i JOIN up ON i.id = up.parent)
    SELECT '$/' || coalesce(string_agg(name, '/' ORDER BY depth DESC) FILTER (WHERE parent IS NOT NULL), '')
    FROM up $f$;

CREATE FUNCTION option_value(p_name text) RETURNS text LANGUAGE sql STABLE AS $f$
    SELECT value FROM options WHERE lower(name) = lower(p_name) $f$;

CREATE FUNCTION parse_rights(p_text text) RETURNS int LANGUAGE plpgsql IMMUTABLE AS $f$
DECLARE
    v_rights int := 0;
    v_part text;
BEGIN
    IF p_text IS NULL THEN
        RETURN 7;
    END IF;
    IF lower(trim(p_text)) = 'none' THEN
        RETURN 0;
    END IF;
    FOREACH v_part IN ARRAY string_to_array(lower(p_text), ',') LOOP
        CASE trim(v_part)
            WHEN 'read' THEN v_rights := v_rights | 1;
            WHEN 'checkout' THEN v_rights := v_rights | 2;
            WHEN 'add' THEN v_rights := v_rights | 4;
            WHEN 'destroy' THEN v_rights := v_rights | 8;
            ELSE RETURN 7;
        END CASE;
    END LOOP;
    RETURN v_rights;
END $f$;

CREATE FUNCTION right_name(p_right int) RETURNS text LANGUAGE sql IMMUTABLE AS $f$
    SELECT CASE p_right WHEN 1 THEN 'read' WHEN 2 THEN 'checkout' WHEN 4 THEN 'add' WHEN 8 THEN 'destroy'
                ELSE p_right::text END $f$;

-- The nearest entry up the path wins, so that a project can give less, or more, than its parent.
CREATE FUNCTION rights_entry(p_project bigint, p_user text, OUT o_rights int, OUT o_source bigint)
LANGUAGE sql STABLE AS $f$
    WITH RECURSIVE up(id, depth) AS (
        SELECT p_project, 0
        UNION ALL SELECT i.parent, up.depth + 1 FROM items i JOIN up ON i.id = up.id WHERE i.parent IS NOT NULL)
    SELECT r.rights, up.id FROM up JOIN rights r ON r.item = up.id AND lower(r."user") = lower(p_user)
    ORDER BY up.depth LIMIT 1 $f$;

CREATE FUNCTION rights_in(p_project bigint, p_user text) RETURNS int LANGUAGE sql STABLE AS $f$
    SELECT coalesce((SELECT o_rights FROM rights_entry(p_project, p_user)),
                    parse_rights(option_value('DefaultRights'))) $f$;

CREATE FUNCTION need_right(p_id bigint, p_right int) RETURNS users LANGUAGE plpgsql STABLE AS $f$
DECLARE
    v_me users := me();
    v_project bigint;
BEGIN
    IF v_me.admin THEN
        RETURN v_me;
    END IF;
    v_project := CASE WHEN type_of(p_id) = 0 THEN p_id ELSE parent_of(p_id) END;
    IF rights_in(v_project, v_me.name) & p_right = 0 THEN
        PERFORM fail('8004D6B6', format('%s does not have the %s right in ''%s''.', v_me.name,
                                        right_name(p_right), spec_of(v_project)));
    END IF;
    RETURN v_me;
END $f$;

CREATE FUNCTION need_admin(p_what text) RETURNS users LANGUAGE plpgsql STABLE AS $f$
DECLARE
    v_me users := me();
BEGIN
    IF NOT v_me.admin THEN
        PERFORM fail('8004D6B4', format('Only the administrator may %s.', p_what));
    END IF;
    RETURN v_me;
END $f$;

CREATE FUNCTION need_type(p_id bigint, p_type int) RETURNS void LANGUAGE plpgsql STABLE AS $f$
BEGIN
    IF type_of(p_id) <> p_type THEN
        PERFORM fail('8004D6A3', CASE WHEN p_type = 1
                                      THEN format('''%s'' is a project, not a file.', spec_of(p_id))
                                      ELSE format('''%s'' is a file, not a project.', spec_of(p_id)) END);
    END IF;
END $f$;

CREATE FUNCTION need_living(p_id bigint) RETURNS void LANGUAGE plpgsql STABLE AS $f$
BEGIN
    IF is_deleted(p_id) THEN
        PERFORM fail('8004D68F', format('''%s'' is deleted.', spec_of(p_id)));
    END IF;
END $f$;

-- The client checks names as well; this keeps a name that would break paths out of the data.
CREATE FUNCTION need_name(p_name text) RETURNS void LANGUAGE plpgsql IMMUTABLE AS $f$
BEGIN
    IF p_name IS NULL OR trim(p_name) = '' OR strpos(p_name, '/') > 0 OR strpos(p_name, '\') > 0 THEN
        PERFORM fail('80040000', format('''%s'' is not a name of one item.', p_name));
    END IF;
    IF p_name <> trim(p_name) OR length(p_name) > 255 OR p_name ~ '[[:cntrl:]:*?"<>|;,$@]' THEN
        PERFORM fail('8004D848', format('''%s'' is not a valid item name.', p_name));
    END IF;
END $f$;

CREATE FUNCTION name_taken(p_parent bigint, p_name text, p_except bigint DEFAULT 0) RETURNS boolean
LANGUAGE sql STABLE AS $f$
    SELECT EXISTS(SELECT 1 FROM items WHERE parent = p_parent AND lower(name) = lower(p_name)
                  AND NOT deleted AND id <> p_except) $f$;

CREATE FUNCTION need_free(p_parent bigint, p_name text, p_except bigint DEFAULT 0) RETURNS void
LANGUAGE plpgsql STABLE AS $f$
BEGIN
    IF name_taken(p_parent, p_name, p_except) THEN
        PERFORM fail('8004D694', CASE WHEN p_except = 0
                                      THEN format('An item named ''%s'' already exists in ''%s''.', p_name,
                                                  spec_of(p_parent))
                                      ELSE format('An item named ''%s'' already exists in that project.',
                                                  p_name) END);
    END IF;
END $f$;

CREATE FUNCTION need_not_held(p_id bigint, p_user text, p_deleted_too boolean) RETURNS void
LANGUAGE plpgsql STABLE AS $f$
DECLARE
    v record;
BEGIN
    WITH RECURSIVE tree(id) AS (
        SELECT p_id
        UNION ALL SELECT i.id FROM items i JOIN tree ON i.parent = tree.id WHERE NOT i.deleted OR p_deleted_too)
    SELECT c.item, c."user" INTO v FROM checkouts c JOIN tree ON c.item = tree.id
    WHERE c."user" <> p_user ORDER BY c.date, c.seq LIMIT 1;
    IF NOT FOUND THEN
        RETURN;
    END IF;
    IF v.item = p_id THEN
        PERFORM fail('8004D6A0', format('''%s'' is checked out by %s.', spec_of(v.item), v."user"));
    END IF;
    PERFORM fail('8004D6A0', format('''%s'' holds ''%s'', which is checked out by %s.', spec_of(p_id),
                                    spec_of(v.item), v."user"));
END $f$;

-- Appends a history entry with the next number (or the present one for a label).
CREATE FUNCTION record(p_id bigint, p_user text, p_action text, p_comment text, p_content bytea,
                       p_label boolean DEFAULT false, p_label_comment text DEFAULT '') RETURNS int
LANGUAGE plpgsql AS $f$
DECLARE
    v_number int := head_number(p_id) + CASE WHEN p_label THEN 0 ELSE 1 END;
    v_content bytea := CASE WHEN type_of(p_id) = 1 THEN coalesce(p_content, ''::bytea) END;
BEGIN
    INSERT INTO history(item, number, is_label, "user", action, date, comment, label_comment, content, checksum)
    VALUES (p_id, v_number, p_label, p_user, p_action, now_ms(), coalesce(p_comment, ''),
            coalesce(p_label_comment, ''), v_content, sha256(coalesce(v_content, ''::bytea)));
    RETURN v_number;
END $f$;

CREATE FUNCTION new_item(p_parent bigint, p_name text, p_type int) RETURNS bigint LANGUAGE sql AS $f$
    INSERT INTO items(parent, name, type) VALUES (p_parent, p_name, p_type) RETURNING id $f$;

CREATE FUNCTION role_of(p_name text) RETURNS text LANGUAGE sql STABLE AS $f$
    SELECT current_database() || '.' || translate(p_name, 'ABCDEFGHIJKLMNOPQRSTUVWXYZ',
                                                  'abcdefghijklmnopqrstuvwxyz') $f$;
CREATE FUNCTION group_role() RETURNS text LANGUAGE sql STABLE AS $f$
    SELECT current_database() || '/store' $f$;

CREATE FUNCTION stored_user(p_name text) RETURNS users LANGUAGE plpgsql STABLE AS $f$
DECLARE
    v users;
BEGIN
    SELECT * INTO v FROM users WHERE lower(name) = lower(trim(p_name));
    IF NOT FOUND THEN
        PERFORM fail('8004D6B0', format('User "%s" not found', p_name));
    END IF;
    RETURN v;
END $f$;

-- Makes a user with the login role of his name; a null verifier makes one who can't log in until
-- the administrator gives him a password.
CREATE FUNCTION make_user(p_name text, p_verifier text, p_admin boolean) RETURNS void LANGUAGE plpgsql AS $f$
DECLARE
    v_role text := role_of(p_name);
BEGIN
    IF octet_length(v_role) > 63 THEN
        PERFORM fail('8004D848', format('''%s'' is too long a user name for this database.', p_name));
    END IF;
    IF EXISTS(SELECT 1 FROM users WHERE lower(name) = lower(p_name)) THEN
        PERFORM fail('8004D694', format('User "%s" already exists', p_name));
    END IF;
    BEGIN
        IF p_verifier IS NULL THEN
            EXECUTE format('CREATE ROLE %I NOLOGIN IN ROLE %I', v_role, group_role());
        ELSE
            EXECUTE format('CREATE ROLE %I LOGIN PASSWORD %L IN ROLE %I', v_role, p_verifier, group_role());
        END IF;
    EXCEPTION WHEN duplicate_object THEN
        PERFORM fail('8004D694', format('The server already has a login %s for user "%s".', v_role, p_name));
    END;
    INSERT INTO users(name, role, admin) VALUES (p_name, v_role, p_admin);
END $f$;
)SQL";

// What the store's users may call.
const char* const api = R"SQL(
CREATE FUNCTION api_whoami(OUT o_name text, OUT o_admin boolean) LANGUAGE plpgsql STABLE SECURITY DEFINER
SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v users := me();
BEGIN
    o_name := v.name;
    o_admin := v.admin;
END $f$;

CREATE FUNCTION api_resolve(p_from bigint, p_parts text[], p_deleted boolean, p_spec text) RETURNS bigint
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_id bigint := p_from;
    v_count int := coalesce(array_length(p_parts, 1), 0);
    v record;
BEGIN
    PERFORM me();
    IF v_count = 0 THEN
        IF p_deleted <> is_deleted(v_id) THEN
            PERFORM fail('8004D68F', format('''%s'' was not found.', p_spec));
        END IF;
        RETURN v_id;
    END IF;
    FOR v_at IN 1..v_count LOOP
        SELECT i.id, i.type INTO v FROM items i
        WHERE i.parent = v_id AND lower(i.name) = lower(p_parts[v_at]) AND i.deleted = (v_at = v_count AND p_deleted)
        ORDER BY i.deleted_at DESC, i.id DESC LIMIT 1;
        IF NOT FOUND OR (v_at < v_count AND v.type <> 0) THEN
            PERFORM fail('8004D68F', format('''%s'' was not found.', p_spec));
        END IF;
        v_id := v.id;
    END LOOP;
    RETURN v_id;
END $f$;

CREATE FUNCTION api_item(p_id bigint, OUT o_found boolean, OUT o_name text, OUT o_type int,
                         OUT o_deleted boolean, OUT o_number int, OUT o_spec text)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM me();
    SELECT true, i.name, i.type, i.deleted INTO o_found, o_name, o_type, o_deleted FROM items i WHERE i.id = p_id;
    o_found := coalesce(o_found, false);
    o_type := coalesce(o_type, 1);
    o_deleted := coalesce(o_deleted, false);
    o_number := head_number(p_id);
    o_spec := spec_of(p_id);
END $f$;

CREATE FUNCTION api_holders(p_id bigint, OUT o_user text, OUT o_mine boolean) RETURNS SETOF record
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users := me();
BEGIN
    RETURN QUERY SELECT c."user", c."user" = v_me.name FROM checkouts c WHERE c.item = p_id ORDER BY c.date, c.seq;
END $f$;

CREATE FUNCTION api_checkouts(p_id bigint) RETURNS TABLE(o_user text, o_date bigint, o_local text, o_comment text)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_right(p_id, 1);
    RETURN QUERY SELECT c."user", c.date, c.local, c.comment FROM checkouts c WHERE c.item = p_id
                 ORDER BY c.date, c.seq;
END $f$;

CREATE FUNCTION api_history(p_id bigint)
RETURNS TABLE(o_seq bigint, o_number int, o_label boolean, o_user text, o_action text, o_date bigint,
              o_comment text, o_label_comment text)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_right(p_id, 1);
    RETURN QUERY SELECT h.seq, h.number, h.is_label, h."user", h.action, h.date, h.comment, h.label_comment
                 FROM history h WHERE h.item = p_id ORDER BY h.seq DESC;
END $f$;

CREATE FUNCTION api_children(p_id bigint, p_deleted boolean) RETURNS SETOF bigint
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_type(p_id, 0);
    PERFORM need_right(p_id, 1);
    RETURN QUERY SELECT i.id FROM items i WHERE i.parent = p_id AND (NOT i.deleted OR p_deleted)
                 ORDER BY lower(i.name), i.deleted, i.deleted_at DESC, i.id;
END $f$;

-- A project's living items with their check-outs and latest numbers, narrowed to the names given (in
-- any case) and to those ending with one of the endings (in the case given) where these aren't null.
CREATE FUNCTION api_entries(p_project bigint, p_names text[], p_endings text[])
RETURNS TABLE(o_id bigint, o_name text, o_type int, o_number int, o_holders text[], o_mine boolean,
              o_local text)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
BEGIN
    PERFORM need_type(p_project, 0);
    v_me := need_right(p_project, 1);
    -- The check-outs of the project are few beside its items: gathered once, not looked up per item.
    RETURN QUERY
    WITH held AS (
        SELECT c.item, array_agg(c."user" ORDER BY c.date, c.seq) AS holders,
               bool_or(c."user" = v_me.name) AS mine,
               (array_agg(c.local) FILTER (WHERE c."user" = v_me.name))[1] AS local
        FROM checkouts c JOIN items p ON p.id = c.item AND p.parent = p_project
        GROUP BY c.item)
    SELECT i.id, i.name, i.type,
           coalesce((SELECT max(h.number) FROM history h WHERE h.item = i.id AND NOT h.is_label), 0),
           coalesce(held.holders, '{}'::text[]), coalesce(held.mine, false), held.local
    FROM items i
    LEFT JOIN held ON held.item = i.id
    WHERE i.parent = p_project AND NOT i.deleted
      AND (p_names IS NULL OR lower(i.name) = ANY (ARRAY(SELECT lower(n) FROM unnest(p_names) n)))
      AND (p_endings IS NULL OR EXISTS(SELECT 1 FROM unnest(p_endings) e WHERE right(i.name, length(e)) = e))
    ORDER BY lower(i.name), i.id;
END $f$;

-- The latest texts of files of the project.
CREATE FUNCTION api_texts(p_project bigint, p_ids bigint[])
RETURNS TABLE(o_id bigint, o_has boolean, o_number int, o_content bytea, o_checksum bytea)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_right(p_project, 1);
    RETURN QUERY
    SELECT i.id, h.seq IS NOT NULL, h.number, h.content, h.checksum
    FROM unnest(p_ids) w(id) JOIN items i ON i.id = w.id AND i.parent = p_project
    LEFT JOIN LATERAL (SELECT * FROM history x WHERE x.item = i.id AND NOT x.is_label
                       ORDER BY x.number DESC LIMIT 1) h ON true;
END $f$;

CREATE FUNCTION api_version_text(p_item bigint, p_seq bigint, OUT o_number int, OUT o_content bytea,
                                 OUT o_checksum bytea, OUT o_spec text)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_right(p_item, 1);
    SELECT h.number, h.content, h.checksum INTO o_number, o_content, o_checksum
    FROM history h WHERE h.seq = p_seq AND h.item = p_item;
    IF NOT FOUND THEN
        PERFORM fail('8004D6B5', 'The version no longer exists.');
    END IF;
    o_spec := spec_of(p_item);
END $f$;

CREATE FUNCTION api_working_file(p_item bigint) RETURNS text
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users := need_right(p_item, 1);
BEGIN
    RETURN coalesce((SELECT c.local FROM checkouts c WHERE c.item = p_item AND c."user" = v_me.name), '');
END $f$;

-- The latest text of a file as a get, a check-out or an undo hands it to the client, which checks it.
CREATE FUNCTION head_of(p_id bigint, OUT o_has boolean, OUT o_number int, OUT o_content bytea,
                        OUT o_checksum bytea, OUT o_spec text) LANGUAGE plpgsql STABLE AS $f$
BEGIN
    SELECT true, h.number, h.content, h.checksum INTO o_has, o_number, o_content, o_checksum
    FROM history h WHERE h.seq = head_seq(p_id);
    o_has := coalesce(o_has, false);
    o_spec := spec_of(p_id);
END $f$;

CREATE FUNCTION api_for_get(p_id bigint, OUT o_mine boolean, OUT o_working text, OUT o_has boolean,
                            OUT o_number int, OUT o_content bytea, OUT o_checksum bytea, OUT o_spec text)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
BEGIN
    PERFORM need_type(p_id, 1);
    v_me := need_right(p_id, 1);
    SELECT c.local INTO o_working FROM checkouts c WHERE c.item = p_id AND c."user" = v_me.name;
    o_mine := FOUND;
    o_working := coalesce(o_working, '');
    SELECT * INTO o_has, o_number, o_content, o_checksum, o_spec FROM head_of(p_id);
END $f$;

CREATE FUNCTION api_checkout(p_id bigint, p_comment text, p_local text, OUT o_has boolean, OUT o_number int,
                             OUT o_content bytea, OUT o_checksum bytea, OUT o_spec text)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
    v_holders text;
BEGIN
    PERFORM write_lock();
    PERFORM need_type(p_id, 1);
    v_me := need_right(p_id, 2);
    PERFORM need_living(p_id);
    IF EXISTS(SELECT 1 FROM checkouts c WHERE c.item = p_id AND c."user" = v_me.name) THEN
        PERFORM fail('8004D6A1', format('You currently have ''%s'' checked out.', spec_of(p_id)));
    END IF;
    SELECT string_agg(c."user", ', ' ORDER BY c.date, c.seq) INTO v_holders FROM checkouts c WHERE c.item = p_id;
    IF v_holders IS NOT NULL AND coalesce(option_value('MultipleCheckouts'), 'no') <> 'yes' THEN
        PERFORM fail('8004D6A0', format('''%s'' is checked out by %s.', spec_of(p_id), v_holders));
    END IF;
    INSERT INTO checkouts(item, "user", date, local, comment)
    VALUES (p_id, v_me.name, now_ms(), coalesce(p_local, ''), coalesce(p_comment, ''));
    SELECT * INTO o_has, o_number, o_content, o_checksum, o_spec FROM head_of(p_id);
END $f$;

CREATE FUNCTION api_require_my_checkout(p_id bigint) RETURNS void
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
BEGIN
    PERFORM need_type(p_id, 1);
    v_me := need_right(p_id, 2);
    IF NOT EXISTS(SELECT 1 FROM checkouts c WHERE c.item = p_id AND c."user" = v_me.name) THEN
        PERFORM fail('8004D6A2', format('You do not have ''%s'' checked out.', spec_of(p_id)));
    END IF;
END $f$;

CREATE FUNCTION api_checkin(p_id bigint, p_comment text, p_content bytea) RETURNS int
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users := me();
    v_number int;
BEGIN
    PERFORM write_lock();
    PERFORM api_require_my_checkout(p_id);
    v_number := record(p_id, v_me.name, 'Checked in', p_comment, p_content);
    DELETE FROM checkouts c WHERE c.item = p_id AND c."user" = v_me.name;
    RETURN v_number;
END $f$;

CREATE FUNCTION api_undo_checkout(p_id bigint, OUT o_has boolean, OUT o_number int, OUT o_content bytea,
                                  OUT o_checksum bytea, OUT o_spec text)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users := me();
BEGIN
    PERFORM write_lock();
    PERFORM api_require_my_checkout(p_id);
    DELETE FROM checkouts c WHERE c.item = p_id AND c."user" = v_me.name;
    SELECT * INTO o_has, o_number, o_content, o_checksum, o_spec FROM head_of(p_id);
END $f$;

CREATE FUNCTION api_label(p_id bigint, p_label text, p_comment text) RETURNS int
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
BEGIN
    IF trim(coalesce(p_label, '')) = '' THEN
        PERFORM fail('8004D848', 'A label needs a name.');
    END IF;
    PERFORM write_lock();
    v_me := need_right(p_id, 2);
    PERFORM need_living(p_id);
    RETURN record(p_id, v_me.name, format('Labeled ''%s''', p_label), '', head_content(p_id), true, p_comment);
END $f$;

CREATE FUNCTION api_add_files(p_project bigint, p_names text[], p_contents bytea[], p_comment text)
RETURNS bigint[] LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
    v_ids bigint[] := '{}';
    v_id bigint;
BEGIN
    PERFORM write_lock();
    PERFORM need_type(p_project, 0);
    v_me := need_right(p_project, 4);
    PERFORM need_living(p_project);
    FOR v_at IN 1..coalesce(array_length(p_names, 1), 0) LOOP
        PERFORM need_name(p_names[v_at]);
        -- Sees the files added before it, so a name given twice is refused too.
        PERFORM need_free(p_project, p_names[v_at]);
        v_id := new_item(p_project, p_names[v_at], 1);
        PERFORM record(v_id, v_me.name, 'Created', p_comment, p_contents[v_at]);
        v_ids := v_ids || v_id;
    END LOOP;
    RETURN v_ids;
END $f$;

CREATE FUNCTION api_new_project(p_project bigint, p_name text, p_comment text) RETURNS bigint
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
    v_id bigint;
BEGIN
    PERFORM need_name(p_name);
    PERFORM write_lock();
    PERFORM need_type(p_project, 0);
    v_me := need_right(p_project, 4);
    PERFORM need_living(p_project);
    PERFORM need_free(p_project, p_name);
    v_id := new_item(p_project, p_name, 0);
    PERFORM record(v_id, v_me.name, 'Created', p_comment, NULL);
    RETURN v_id;
END $f$;

CREATE FUNCTION api_rename(p_id bigint, p_name text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
    v_old text;
BEGIN
    PERFORM need_name(p_name);
    IF p_id = 1 THEN
        PERFORM fail('8004D848', 'The root project cannot be renamed.');
    END IF;
    PERFORM write_lock();
    v_me := need_right(p_id, 4);
    PERFORM need_not_held(p_id, v_me.name, false);
    SELECT i.name INTO v_old FROM items i WHERE i.id = p_id;
    IF NOT is_deleted(p_id) THEN
        PERFORM need_free(parent_of(p_id), p_name, p_id);
    END IF;
    UPDATE items SET name = p_name WHERE id = p_id;
    PERFORM record(p_id, v_me.name, format('Renamed ''%s'' to ''%s''', v_old, p_name), '', head_content(p_id));
END $f$;

CREATE FUNCTION api_set_deleted(p_id bigint, p_deleted boolean) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
BEGIN
    IF p_id = 1 THEN
        PERFORM fail('8004D848', 'The root project cannot be deleted.');
    END IF;
    PERFORM write_lock();
    v_me := need_right(p_id, 4);
    IF is_deleted(p_id) = p_deleted THEN
        RETURN;
    END IF;
    IF p_deleted THEN
        PERFORM need_not_held(p_id, v_me.name, false);
        DELETE FROM checkouts WHERE item = p_id;
    ELSIF name_taken(parent_of(p_id), (SELECT i.name FROM items i WHERE i.id = p_id)) THEN
        PERFORM fail('8004D694', format('An item named ''%s'' already exists in that project.',
                                        (SELECT i.name FROM items i WHERE i.id = p_id)));
    END IF;
    UPDATE items SET deleted = p_deleted, deleted_at = CASE WHEN p_deleted THEN now_ms() ELSE 0 END
    WHERE id = p_id;
    PERFORM record(p_id, v_me.name, CASE WHEN p_deleted THEN 'Deleted' ELSE 'Recovered' END, '',
                   head_content(p_id));
END $f$;

CREATE FUNCTION api_recover_as(p_id bigint, p_name text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
    v_old text;
BEGIN
    PERFORM need_name(p_name);
    PERFORM write_lock();
    v_me := need_right(p_id, 4);
    IF NOT is_deleted(p_id) THEN
        PERFORM fail('8004D68F', format('''%s'' is not deleted.', spec_of(p_id)));
    END IF;
    PERFORM need_free(parent_of(p_id), p_name, -1);
    SELECT i.name INTO v_old FROM items i WHERE i.id = p_id;
    UPDATE items SET name = p_name, deleted = false, deleted_at = 0 WHERE id = p_id;
    IF v_old <> p_name THEN
        PERFORM record(p_id, v_me.name, format('Renamed ''%s'' to ''%s''', v_old, p_name), '',
                       head_content(p_id));
    END IF;
    PERFORM record(p_id, v_me.name, 'Recovered', '', head_content(p_id));
END $f$;

CREATE FUNCTION api_destroy(p_id bigint) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users;
    v_tree bigint[];
BEGIN
    IF p_id = 1 THEN
        PERFORM fail('8004D848', 'The root project cannot be destroyed.');
    END IF;
    PERFORM write_lock();
    v_me := need_right(p_id, 8);
    PERFORM need_not_held(p_id, v_me.name, true);
    WITH RECURSIVE tree(id) AS (
        SELECT p_id UNION ALL SELECT i.id FROM items i JOIN tree ON i.parent = tree.id)
    SELECT array_agg(id) INTO v_tree FROM tree;
    DELETE FROM checkouts WHERE item = ANY (v_tree);
    DELETE FROM history WHERE item = ANY (v_tree);
    DELETE FROM rights WHERE item = ANY (v_tree);
    -- Children first, so that no row is left pointing at an item that is gone.
    WITH RECURSIVE tree(id, depth) AS (
        SELECT p_id, 0 UNION ALL SELECT i.id, tree.depth + 1 FROM items i JOIN tree ON i.parent = tree.id)
    SELECT array_agg(id ORDER BY depth DESC) INTO v_tree FROM tree;
    FOR v_at IN 1..array_length(v_tree, 1) LOOP
        DELETE FROM items WHERE id = v_tree[v_at];
    END LOOP;
END $f$;

CREATE FUNCTION api_option(p_name text) RETURNS text
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM me();
    RETURN option_value(p_name);
END $f$;

CREATE FUNCTION api_set_option(p_name text, p_value text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_admin('change the store''s options');
    PERFORM write_lock();
    INSERT INTO options(name, value) VALUES (p_name, p_value)
    ON CONFLICT (name) DO UPDATE SET value = excluded.value;
END $f$;

CREATE FUNCTION api_add_user(p_name text, p_verifier text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_admin('add users');
    PERFORM write_lock();
    PERFORM make_user(p_name, p_verifier, false);
END $f$;

CREATE FUNCTION api_set_password(p_name text, p_verifier text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v_me users := me();
    v users;
BEGIN
    IF NOT v_me.admin AND lower(p_name) <> lower(v_me.name) THEN
        PERFORM fail('8004D6B4', 'Only the administrator may change another user''s password.');
    END IF;
    v := stored_user(p_name);
    EXECUTE format('ALTER ROLE %I LOGIN PASSWORD %L', v.role, p_verifier);
END $f$;

CREATE FUNCTION api_users() RETURNS SETOF text
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM me();
    RETURN QUERY SELECT u.name FROM users u ORDER BY lower(u.name);
END $f$;

CREATE FUNCTION need_project_for_rights(p_id bigint) RETURNS void LANGUAGE plpgsql STABLE AS $f$
BEGIN
    IF type_of(p_id) <> 0 THEN
        PERFORM fail('8004D6A3', format('''%s'' is a file; rights belong to projects.', spec_of(p_id)));
    END IF;
END $f$;

CREATE FUNCTION api_set_rights(p_project bigint, p_user text, p_rights int) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v users;
BEGIN
    PERFORM need_admin('set rights');
    PERFORM write_lock();
    PERFORM need_project_for_rights(p_project);
    v := stored_user(p_user);
    IF v.admin THEN
        PERFORM fail('8004D6B4', 'The administrator always has every right.');
    END IF;
    INSERT INTO rights(item, "user", rights) VALUES (p_project, v.name, p_rights & 15)
    ON CONFLICT (item, "user") DO UPDATE SET rights = excluded.rights;
END $f$;

CREATE FUNCTION api_inherit_rights(p_project bigint, p_user text) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
DECLARE
    v users;
BEGIN
    PERFORM need_admin('set rights');
    PERFORM write_lock();
    PERFORM need_project_for_rights(p_project);
    v := stored_user(p_user);
    DELETE FROM rights r WHERE r.item = p_project AND r."user" = v.name;
END $f$;

CREATE FUNCTION api_rights(p_project bigint)
RETURNS TABLE(o_name text, o_rights int, o_from text, o_admin boolean)
LANGUAGE plpgsql STABLE SECURITY DEFINER SET search_path = tarmo, pg_temp AS $f$
BEGIN
    PERFORM need_project_for_rights(p_project);
    PERFORM need_right(p_project, 1);
    RETURN QUERY
    SELECT u.name, CASE WHEN u.admin THEN 15 ELSE coalesce(e.o_rights, parse_rights(option_value('DefaultRights'))) END,
           CASE WHEN u.admin OR e.o_source IS NULL THEN '' ELSE spec_of(e.o_source) END, u.admin
    FROM users u LEFT JOIN LATERAL rights_entry(p_project, u.name) e ON true
    ORDER BY lower(u.name);
END $f$;
)SQL";

// Nobody but the owner reaches the tables or the helpers; the store's users, members of the store's
// group role, reach the schema and the functions that check them.
const char* const grants = R"SQL(
REVOKE ALL ON SCHEMA tarmo FROM PUBLIC;
REVOKE ALL ON ALL TABLES IN SCHEMA tarmo FROM PUBLIC;
REVOKE ALL ON ALL SEQUENCES IN SCHEMA tarmo FROM PUBLIC;
REVOKE ALL ON ALL FUNCTIONS IN SCHEMA tarmo FROM PUBLIC;
DO $d$
DECLARE
    v_group text := tarmo.group_role();
    v_function regprocedure;
BEGIN
    IF NOT EXISTS(SELECT 1 FROM pg_roles WHERE rolname = v_group) THEN
        EXECUTE format('CREATE ROLE %I NOLOGIN', v_group);
    END IF;
    EXECUTE format('GRANT USAGE ON SCHEMA tarmo TO %I', v_group);
    FOR v_function IN SELECT p.oid::regprocedure FROM pg_proc p JOIN pg_namespace n ON n.oid = p.pronamespace
                      WHERE n.nspname = 'tarmo' AND p.prosecdef LOOP
        EXECUTE format('GRANT EXECUTE ON FUNCTION %s TO %I', v_function, v_group);
    END LOOP;
END $d$;
)SQL";

} // namespace

QList<QByteArray> PgSchema::Statements() {
    return {QByteArray(tables), QByteArray(helpers), QByteArray(api), QByteArray(grants)};
}
